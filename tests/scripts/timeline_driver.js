// Does in the page what a person would, with real events, and leaves in #result what it saw, a line each.
(async () => {
  const seen = [];
  const say = (name, value) => seen.push(name + '=' + value);
  // A page that nobody looks at isn't given frames.
  window.requestAnimationFrame = (draw) => setTimeout(draw, 0);
  const frame = () => new Promise((done) => setTimeout(done, 1));
  const chart = document.getElementById('chart'), range = document.getElementById('range');
  const box = () => chart.getBoundingClientRect();
  const key = async (name) => { chart.dispatchEvent(new KeyboardEvent('keydown', {key: name, bubbles: true, cancelable: true})); await frame(); };
  const point = async (type, x, y, more) => {
    chart.dispatchEvent(new PointerEvent(type, {clientX: box().left + x, clientY: box().top + y, pointerId: 1, bubbles: true, ...more}));
    await frame();
  };
  const nodes = () => chart.querySelectorAll('*').length;
  try {
    await frame();
    let most = nodes();
    const whole = range.textContent;
    say('outages', document.querySelectorAll('#list tbody tr').length);
    chart.dispatchEvent(new WheelEvent('wheel', {deltaY: -400, clientX: box().left + box().width / 2, clientY: box().top + 60, bubbles: true, cancelable: true}));
    await frame();
    say('wheel', range.textContent !== whole);
    most = Math.max(most, nodes());
    let before = range.textContent;
    await key('ArrowRight');
    say('arrow', range.textContent !== before);
    before = range.textContent;
    await point('pointerdown', 600, 60);
    await point('pointermove', 500, 60);
    await point('pointerup', 500, 60);
    say('drag', range.textContent !== before);
    for (let i = 0; i < 40; ++i) { await key('+'); most = Math.max(most, nodes()); }
    say('deepest', range.textContent.replace(/.*\(|\)/g, ''));
    await key('0');
    say('whole', range.textContent === whole);
    before = range.textContent;
    await point('pointerdown', 300, 60, {shiftKey: true});
    await point('pointermove', 420, 60, {shiftKey: true});
    await point('pointerup', 420, 60, {shiftKey: true});
    say('marked', range.textContent !== before);
    await key('0');
    await key('n');
    const details = document.getElementById('details');
    say('details', details.textContent.includes('Outage: ') && details.querySelectorAll('.lines li').length > 0);
    const rect = chart.querySelector('.selected').getBoundingClientRect();
    await point('pointermove', rect.left - box().left + rect.width / 2, rect.top - box().top + rect.height / 2);
    const tip = document.getElementById('tip');
    say('hover', !tip.hidden && /LOG:\d+/.test(tip.textContent));
    await key('Escape');
    say('escape', details.textContent === '');
    for (let i = 0; i < 12; ++i) await key('n');
    for (let i = 0; i < 30; ++i) { await key('ArrowDown'); if (details.textContent.includes('<script>')) say('hostile', 'shown'); }
    document.querySelectorAll('#list .jump')[3].click();
    await frame();
    say('jump', document.querySelectorAll('tr.here').length === 1 && range.textContent !== whole);
    document.querySelectorAll('.causes button')[0].click();
    await frame();
    say('filter', document.querySelector('#list h2').textContent.includes(':'));
    const page = () => getComputedStyle(document.body).backgroundColor;
    const colour = page();
    document.getElementById('theme').click();
    const light = page();
    document.getElementById('theme').click();
    say('dark', page() !== light && [light, page()].includes(colour));
    say('markup', document.querySelectorAll('img, iframe, object, a').length + document.querySelectorAll('script').length);
    say('title', document.title);
    say('nodes', most);
  } catch (error) {
    say('error', error);
  }
  const result = document.createElement('pre');
  result.id = 'result';
  result.textContent = '\n' + seen.map((line) => 'SEEN ' + line).join('\n') + '\n';
  document.body.append(result);
})();
