'use strict';
(() => {
  // All that the log says comes as data and is shown as text: nothing here makes markup of it.
  const data = JSON.parse(document.getElementById('data').textContent);
  const byId = (id) => document.getElementById(id);
  const kSvg = 'http://www.w3.org/2000/svg';
  const kSecond = 1000, kMinute = 60 * kSecond, kHour = 60 * kMinute, kDay = 24 * kHour;

  const node = (tag, attributes, ...children) => {
    const made = document.createElement(tag);
    for (const key in attributes || {}) made.setAttribute(key, attributes[key]);
    made.append(...children);
    return made;
  };
  let drawn = 0;
  const draw = (parent, tag, attributes, text) => {
    const made = document.createElementNS(kSvg, tag);
    for (const key in attributes) made.setAttribute(key, attributes[key]);
    if (text !== undefined) made.textContent = text;
    parent.append(made);
    ++drawn;
    return made;
  };

  // Control characters, and those that change the direction of a text or can't be seen, are shown by their number.
  const shown = (text) => text.replace(/[\u0000-\u001f\u007f-\u009f\u061c\u200b-\u200f\u2028-\u202e\u2060-\u2069\ufeff]/g, (c) => {
    const code = c.charCodeAt(0).toString(16).toUpperCase();
    return code.length < 3 ? '\\x' + code.padStart(2, '0') : '\\u' + code.padStart(4, '0');
  });

  // What an outage looks like by its cause: its colour, and 0 plain, 1 hatched, 2 dotted.
  const kLooks = {
    'modem-mute': ['modem', 0],
    'port-gone': ['modem', 1],
    'sim': ['sim', 0],
    'no-service': ['network', 0],
    'denied': ['network', 1],
    'link-down': ['network', 2],
    'data-path': ['data', 0],
    'dial-failed': ['data', 1],
    'dhcp': ['data', 2],
    'disabled': ['asked', 0],
    'command': ['asked', 1],
    'ocpp': ['asked', 2],
    'restart': ['restart', 0],
    'unknown': ['other', 1],
  };
  const kKinds = {'soft': 'Soft reset', 'hard': 'Hardware reset', 'sim-switch': 'SIM switch'};
  const kStates = {
    unknown: 'not known', starting: 'not yet online since the daemon began', offline: 'offline',
    dialled: 'dialled; whether the link came up isn\'t to be seen', online: 'online',
  };
  const kSims = {unknown: 'not told', ready: 'SIM ready', 'not-ready': 'no SIM that is ready'};
  const topOf = (word) => word.split('/')[0];
  const causeText = (word) => data.causes[topOf(word)] + (word.includes('/') ? ' (' + word.slice(word.indexOf('/') + 1) + ')' : '');
  const reasonText = (word) => data.reasons[word];
  const fillOf = (word) => 'url(#' + kLooks[topOf(word)].join('') + ')';
  const sure = (certainty) => certainty === 'probable' ? ', probably' : '';
  const begin = (text) => text.charAt(0).toUpperCase() + text.slice(1);

  // Times
  const total = Math.max(data.length, kMinute);
  const aheadAt = (at) => {
    let low = 0, high = data.clock.length;
    while (high - low > 1) {
      const middle = (low + high) >> 1;
      if (data.clock[middle][0] <= at) low = middle; else high = middle;
    }
    return data.clock.length ? data.clock[low][1] : 0;
  };
  const two = (number) => String(number).padStart(2, '0');
  const dayText = (time) => data.dated ? new Date(time).toISOString().slice(0, 10) : 'day ' + (Math.floor(time / kDay) + 1);
  const clockText = (time, withSeconds) => {
    const day = ((time % kDay) + kDay) % kDay;
    return two(Math.floor(day / kHour)) + ':' + two(Math.floor(day / kMinute) % 60) + (withSeconds ? ':' + two(Math.floor(day / kSecond) % 60) : '');
  };
  const timeText = (at) => {
    const time = at + aheadAt(at);
    return dayText(time) + (data.dated ? ' ' : ', ') + clockText(time, true);
  };
  const lengthText = (ms) => {
    const s = Math.round(ms / kSecond);
    if (s >= 86400) return Math.floor(s / 86400) + ' d ' + two(Math.floor(s / 3600) % 24) + ' h';
    if (s >= 3600) return Math.floor(s / 3600) + ' h ' + two(Math.floor(s / 60) % 60) + ' min';
    if (s >= 60) return Math.floor(s / 60) + ' min ' + two(s % 60) + ' s';
    return s + ' s';
  };

  // Series: bins with the place in time of each.
  const seriesOf = (raw) => {
    let index = 0;
    const bins = raw.bins.map((bin) => {
      index += bin[0];
      return {from: index * raw.width - raw.offset, to: (index + 1) * raw.width - raw.offset, count: bin[1], low: bin[2], high: bin[3], line: bin[4]};
    });
    return {width: raw.width, bins};
  };
  const rsrp = seriesOf(data.rsrp), sinr = seriesOf(data.sinr), heat = seriesOf(data.temperature), rssi = seriesOf(data.csq);
  for (const bin of rssi.bins) { bin.low = 2 * bin.low - 113; bin.high = 2 * bin.high - 113; }
  const kRungs = [
    ['Link checks failed', seriesOf(data.linkChecks), 11, 'of 10, then offline'],
    ['No service', seriesOf(data.serviceChecks), 34, 'of 34 checks, then a reset'],
    ['Path checks failed', seriesOf(data.pathChecks), 9, 'of 9, then a reset'],
    ['Dials', seriesOf(data.dials), 0, 'attempts since the daemon began; each fifth is a reset'],
  ];

  // Items: all that can be pointed at.
  const spans = (list, words, lane) => list.map((span, i) => ({
    kind: 'span', lane, from: span[0], to: i + 1 < list.length ? list[i + 1][0] : data.length, word: span[1],
    text: words[span[1]] + (span[2] ? ', SIM ' + span[2] : ''), lines: span[3] === undefined ? [] : [span[3]],
  }));
  const outages = data.outages.map((raw, i) => ({...raw, kind: 'outage', lane: 'Link', number: i, word: raw.cause}));
  const resets = data.resets.map((raw) => ({kind: 'reset', lane: 'Resets', from: raw[0], to: raw[0], word: raw[1], reason: data.words[raw[2]],
    certainty: raw[3], achieved: data.words[raw[4]], next: data.words[raw[5]], lines: raw[6]}));
  const upgrades = data.upgrades.map((raw) => ({...raw, kind: 'upgrade', lane: 'Upgrades', word: raw.result}));
  const signs = (list, lane) => list.map((raw) => ({kind: 'sign', lane, from: raw[0], to: raw[0], word: raw[1], text: data.words[raw[2]],
    lines: raw[3] === undefined ? [] : [raw[3]]}));
  const link = spans(data.link, kStates, 'Link'), sim = spans(data.sim, kSims, 'SIM');
  const daemon = signs(data.daemon, 'Daemon'), sims = signs(data.sims, 'SIM');

  const titleOf = (item) => {
    switch (item.kind) {
      case 'outage': return 'Outage: ' + causeText(item.cause) + sure(item.certainty);
      case 'reset': return kKinds[item.word] + ': ' + reasonText(item.reason) + sure(item.certainty);
      case 'upgrade': return 'Upgrade of the modem\'s firmware: ' + item.result;
      case 'several': return item.items.length + ' marks';
      case 'bin': return item.title;
      default: return item.lane + ': ' + item.text;
    }
  };
  const whenOf = (item) => {
    if (item.kind === 'outage') {
      const from = item.begins ? timeText(item.from) : 'before the log begins';
      if (item.ends) return from + ' to ' + timeText(item.to) + (item.begins ? ', ' + lengthText(item.to - item.from) : '');
      return from + (item.open ? ', lasts' : ', no line shows when it ended');
    }
    if (item.to - item.from < kSecond) return timeText(item.from);
    return timeText(item.from) + ' to ' + timeText(item.to) + ', ' + lengthText(item.to - item.from);
  };
  const linesOf = (numbers, most) => {
    const list = node('ul', {class: 'lines'});
    for (const number of numbers.slice(0, most)) {
      const line = data.lines[number];
      list.append(node('li', {}, node('span', {class: 'where'}, shown(data.names[line[0]]) + ':' + line[1]),
        shown(line[2] + data.texts[line[3]] + data.texts[line[4]])));
    }
    if (numbers.length > most) list.append(node('li', {}, '... and ' + (numbers.length - most) + ' more: click'));
    return list;
  };

  // The view
  let from = 0, to = total, width = 0, gutter = 0, selected = null, filter = '', hits = [], isNarrow = false, pending = false;
  const kLeast = 10 * kSecond, kMostBins = 360;
  const chart = byId('chart');
  const plotWidth = () => width - gutter - 6;
  const xOf = (at) => gutter + (at - from) / (to - from) * plotWidth();
  const atOf = (x) => from + (x - gutter) / plotWidth() * (to - from);
  const setView = (newFrom, newTo) => {
    const length = Math.min(total, Math.max(kLeast, newTo - newFrom));
    from = Math.min(Math.max(0, newFrom), total - length);
    to = from + length;
    if (!pending) { pending = true; requestAnimationFrame(paint); }
  };
  const zoom = (factor, at) => setView(at - (at - from) * factor, at + (to - at) * factor);
  const show = (item) => {
    const length = Math.max(item.to - item.from, kMinute);
    setView(item.from - length * .75, item.to + length * .75);
  };
  const middle = () => (from + to) / 2;

  const firstAfter = (items, at) => { // the items are in the order of their begin
    let low = 0, high = items.length;
    while (low < high) {
      const half = (low + high) >> 1;
      if (items[half].from < at) low = half + 1; else high = half;
    }
    return low;
  };
  const binPixels = () => Math.max(3, plotWidth() / kMostBins);

  const add = (item, x0, x1, y, height, weight) => hits.push({item, x0, x1, y, height, weight});

  // Spans that are narrower than a bin are drawn as one, by the kind that lasts longest in it.
  const drawSpans = (parent, items, y, height, paintOf, label, least) => {
    const pixels = binPixels();
    let heap = null;
    const flush = () => {
      if (!heap) return;
      const main = heap.items.reduce((a, b) => (b.to - b.from > a.to - a.from ? b : a));
      const x0 = heap.x0, x1 = Math.max(heap.x1, x0 + least);
      // Where an outage is drawn wider than it was, or several in one place, the height tells how much of the time they took.
      const seconds = heap.items.reduce((sum, item) => sum + item.to - item.from, 0);
      const share = least > 2 ? Math.max(.35, Math.min(1, seconds / (to - from) * plotWidth() / (x1 - x0))) : 1;
      draw(parent, 'rect', {x: x0.toFixed(1), y: (y + height * (1 - share)).toFixed(1), width: Math.max(.5, x1 - x0).toFixed(1),
        height: (height * share).toFixed(1), ...paintOf(main)});
      const text = label && heap.items.length === 1 ? label(main) : '';
      const right = Math.min(x1, width - 6), left = Math.max(x0, gutter);
      if (text && right - left > text.length * 6.4 + 8) {
        draw(parent, 'text', {x: left + 5, y: y + height / 2 + 4, class: label === outageText || label === resultText ? 'within' : ''}, text);
      }
      add(heap.items.length === 1 ? main : {kind: 'several', items: heap.items, from: heap.items[0].from, to: heap.items[heap.items.length - 1].to},
        x0, x1, y, height, least > 1 ? 2 : 0);
      heap = null;
    };
    let i = firstAfter(items, from);
    while (i > 0 && items[i - 1].to >= from) --i;
    for (; i < items.length && items[i].from <= to; ++i) {
      const item = items[i];
      if (item.to < from) continue;
      const x0 = Math.max(gutter, xOf(item.from)), x1 = Math.min(width - 6, xOf(item.to));
      const isSmall = x1 - x0 < pixels;
      if (heap && (!isSmall || x1 - heap.x0 > pixels)) flush();
      if (isSmall && heap) { heap.x1 = x1; heap.items.push(item); continue; }
      heap = {x0, x1, items: [item]};
      if (!isSmall) flush();
    }
    flush();
  };
  const outageText = (item) => causeText(item.cause);
  const resultText = (item) => item.result;

  const kShapes = {
    soft: (x, y) => `M${x - 5} ${y}a5 5 0 1 0 10 0a5 5 0 1 0-10 0`,
    hard: (x, y) => `M${x - 5} ${y - 5}h10v10h-10z`,
    'sim-switch': (x, y) => `M${x} ${y - 6}l6 6l-6 6l-6-6z`,
    start: (x, y) => `M${x - 4} ${y - 6}l9 6l-9 6z`,
    end: (x, y) => `M${x - 5} ${y - 5}l2-2l3 3l3-3l2 2l-3 3l3 3l-2 2l-3-3l-3 3l-2-2l3-3z`,
    request: (x, y) => `M${x - 5} ${y - 5}h10l-5 10z`,
    off: (x, y) => `M${x - 2} ${y - 6}h4v12h-4z`,
    dhcp: (x, y) => `M${x - 4} ${y - 2}h8v4h-8z`,
    another: (x, y) => `M${x - 5} ${y + 5}l5-10l5 10z`,
    switch: (x, y) => `M${x} ${y - 6}l6 6l-6 6l-6-6z`,
  };
  const drawMarks = (parent, items, y) => {
    const pixels = Math.max(9, plotWidth() / 110);
    let heap = [];
    const flush = () => {
      if (!heap.length) return;
      const x = xOf(heap[0].from), kinds = new Set(heap.map((item) => item.word));
      const word = ['hard', 'end', 'start', 'sim-switch'].find((kind) => kinds.has(kind)) || heap[0].word;
      draw(parent, 'path', {d: kShapes[word](+x.toFixed(1), y), class: 'mark ' + word});
      add(heap.length === 1 ? heap[0] : {kind: 'several', items: heap, from: heap[0].from, to: heap[heap.length - 1].to}, x - 6, x + 6, y - 7, 14, 3);
      heap = [];
    };
    for (let i = firstAfter(items, from); i < items.length && items[i].from <= to; ++i) {
      if (heap.length && xOf(items[i].from) - xOf(heap[0].from) > pixels) flush();
      heap.push(items[i]);
    }
    flush();
  };

  // Bins of a series that fall into one column of the picture.
  const columns = (series) => {
    const pixels = Math.max(1.5, plotWidth() / 900), result = [];
    for (let i = Math.max(0, firstAfter(series.bins, from) - 1); i < series.bins.length && series.bins[i].from <= to; ++i) {
      const bin = series.bins[i], x = xOf((bin.from + bin.to) / 2), last = result[result.length - 1];
      if (x < gutter || x > width - 6) continue;
      if (last && x - last.x < pixels) {
        last.low = Math.min(last.low, bin.low);
        if (bin.high > last.high) { last.high = bin.high; last.line = bin.line; }
        last.count += bin.count;
        last.to = bin.to;
        last.end = x;
      } else {
        result.push({x, end: x, from: bin.from, to: bin.to, low: bin.low, high: bin.high, count: bin.count, line: bin.line});
      }
    }
    return result;
  };
  const drawCurve = (parent, series, y, height, least, most, name, unit, word) => {
    const yOf = (value) => y + height - (Math.min(most, Math.max(least, value)) - least) / (most - least) * height;
    const gap = Math.max(4 * series.width, 3 * kMinute);
    let path = '', upper = '', lower = [], band = '', before = null;
    const close = () => {
      if (lower.length > 1) band += upper + lower.reverse().join('') + 'Z';
      upper = '';
      lower = [];
    };
    for (const column of columns(series)) {
      const isNew = !before || (column.from - before.to > gap && column.x - before.end > 3);
      if (isNew) close();
      const x = column.x.toFixed(1);
      path += (isNew ? 'M' : 'L') + x + ' ' + yOf((column.low + column.high) / 2).toFixed(1) + (isNew ? 'h.1' : '');
      upper += (isNew ? 'M' : 'L') + x + ' ' + yOf(column.high).toFixed(1);
      lower.push('L' + x + ' ' + yOf(column.low).toFixed(1));
      add({kind: 'bin', lane: 'Signal', from: column.from, to: column.to,
        title: name + ' ' + (column.low === column.high ? column.low : column.low + ' to ' + column.high) + ' ' + unit +
          (column.count > 1 ? ', ' + column.count + ' readings' : ''), lines: column.line === undefined ? [] : [column.line]},
      column.x - 2, column.end + 2, yOf(column.high) - 5, yOf(column.low) - yOf(column.high) + 10, 1);
      before = column;
    }
    close();
    if (band) draw(parent, 'path', {d: band, class: 'band ' + word});
    if (path) draw(parent, 'path', {d: path, class: 'curve ' + word});
  };
  const drawBars = (parent, rung, y, height) => {
    let path = '';
    for (const column of columns(rung[1])) {
      const tall = rung[2] ? Math.max(2, Math.min(1, column.high / rung[2]) * height) : height * .7;
      const wide = Math.max(1.5, Math.min(4, column.end - column.x + 1.5));
      path += `M${column.x.toFixed(1)} ${y + height}v${-tall.toFixed(1)}h${wide.toFixed(1)}v${tall.toFixed(1)}z`;
      add({kind: 'bin', lane: rung[0], from: column.from, to: column.to,
        title: rung[0] + ': ' + (column.count > 1 ? column.count + ' times, up to ' : '') + column.high + ' ' + rung[3],
        lines: column.line === undefined ? [] : [column.line]}, column.x - 2, column.end + 4, y, height, 1);
    }
    if (path) draw(parent, 'path', {d: path, class: 'bars'});
  };

  const patterns = (parent) => {
    const defs = draw(parent, 'defs', {});
    for (const [group, kind] of Object.values(kLooks)) {
      const pattern = draw(defs, 'pattern', {id: group + kind, width: 7, height: 7, patternUnits: 'userSpaceOnUse'});
      draw(pattern, 'rect', {width: 7, height: 7, fill: `var(--${group})`});
      if (kind === 1) draw(pattern, 'path', {d: 'M-1 8L8-1M-1 1L1-1M6 8L8 6', stroke: 'var(--card)', 'stroke-width': 1.6});
      if (kind === 2) draw(pattern, 'circle', {cx: 3.5, cy: 3.5, r: 1.4, fill: 'var(--card)'});
    }
  };
  const kSteps = [1, 2, 5, 10, 15, 30].map((n) => n * kSecond).concat([1, 2, 5, 10, 15, 30].map((n) => n * kMinute),
    [1, 2, 3, 6, 12].map((n) => n * kHour), [1, 2, 5, 7, 14, 28].map((n) => n * kDay));

  const missing = (level) => data.level >= level ? '' : 'the log doesn\'t tell (level ' + level + ' needed)';

  const paint = () => {
    pending = false;
    width = Math.max(280, Math.round(printing ? 1340 : chart.clientWidth));
    isNarrow = width < 640;
    gutter = isNarrow ? 6 : 132;
    hits = [];
    drawn = 0;
    const svg = document.createElementNS(kSvg, 'svg');
    svg.setAttribute('role', 'img');
    svg.setAttribute('aria-label', 'From ' + timeText(from) + ' to ' + timeText(to));
    patterns(svg);
    let y = 0;
    const right = width - 6;

    // The whole log, and where in it the view is.
    const map = {y: 2, height: 16};
    {
      const [f, t] = [from, to];
      const x0 = xOf(f), keep = hits;
      [from, to] = [0, total];
      draw(svg, 'rect', {x: gutter, y: map.y, width: right - gutter, height: map.height, class: 'lane'});
      drawSpans(svg, link, map.y, map.height, (item) => ({class: item.word}), null, .5);
      drawSpans(svg, outages, map.y, map.height, (item) => ({fill: fillOf(item.cause)}), null, 3);
      const wx0 = xOf(f), wx1 = xOf(t);
      hits = keep.slice(0, 0);
      [from, to] = [f, t];
      draw(svg, 'rect', {x: wx0.toFixed(1), y: map.y - 1, width: Math.max(3, wx1 - wx0).toFixed(1), height: map.height + 2, class: 'window', id: 'window'});
      if (!isNarrow) draw(svg, 'text', {x: 0, y: map.y + 12, class: 'faint'}, 'Whole log');
      y = map.y + map.height + 6;
    }

    // Axis
    const axis = y + 26, grid = draw(svg, 'g', {});
    const step = kSteps.find((s) => s / (to - from) * plotWidth() > (isNarrow ? 62 : 74)) || kSteps[kSteps.length - 1];
    const ahead = aheadAt(middle());
    let day = '';
    for (let time = Math.ceil((from + ahead) / step) * step; time <= to + ahead; time += step) {
      const x = xOf(time - ahead), today = dayText(time);
      draw(grid, 'line', {x1: x, x2: x, y1: axis - 4, y2: 2000, class: 'grid'});
      if (x < right - 30) draw(grid, 'text', {x: x + 3, y: axis - 6, class: 'faint'}, step < kDay ? clockText(time, step < kMinute) : today.slice(data.dated ? 5 : 0));
      if (today !== day && step < kDay && x < right - 60) draw(grid, 'text', {x: x + 3, y: axis - 18}, today);
      day = today;
    }
    y = axis;

    const lane = (name, height, empty, extra) => {
      const top = isNarrow ? y + 15 : y;
      if (isNarrow) {
        draw(svg, 'text', {x: gutter, y: y + 11, class: 'faint'}, name + (extra ? ' (' + extra + ')' : ''));
      } else {
        draw(svg, 'text', {x: 0, y: top + Math.min(height / 2 + 4, 15)}, name);
        if (extra) draw(svg, 'text', {x: 0, y: top + height - 4, class: 'faint'}, extra);
      }
      draw(svg, 'rect', {x: gutter, y: top, width: right - gutter, height, class: 'lane'});
      if (empty) draw(svg, 'text', {x: gutter + 8, y: top + height / 2 + 4, class: 'faint'}, empty);
      y = top + height + 5;
      return top;
    };
    const scale = (top, height, least, most, values) => {
      for (const value of values) {
        const at = top + height - (value - least) / (most - least) * height;
        draw(svg, 'line', {x1: gutter, x2: right, y1: at, y2: at, class: 'grid'});
        draw(svg, 'text', {x: isNarrow ? right : gutter - 4, y: at + 4, 'text-anchor': 'end', class: 'faint'}, value);
      }
    };

    let top = lane('Link', 36, data.link.length ? '' : 'no line of the daemon');
    drawSpans(svg, link, top, 36, (item) => ({class: item.word}), (item) => item.word === 'online' ? 'online' : item.word === 'unknown' ? 'not known' : '', .5);
    drawSpans(svg, outages, top, 36, (item) => ({fill: fillOf(item.cause)}), outageText, 3);
    top = lane('Daemon', 20, daemon.length ? '' : missing(5) || 'no start, end or request');
    drawMarks(svg, daemon, top + 10);
    top = lane('SIM', 20, sim.length ? '' : missing(5) || 'no line tells of it');
    drawSpans(svg, sim, top, 20, (item) => ({class: item.word}), (item) => item.word === 'unknown' && !item.text.includes(',') ? '' : item.word === 'not-ready' ? '' : item.text, .5);
    drawMarks(svg, sims, top + 10);
    const kRows = ['soft', 'sim-switch', 'hard'];
    top = lane('Resets', 50, resets.length ? '' : missing(5) || 'none');
    kRows.forEach((kind, row) => drawMarks(svg, resetsByKind[kind], top + 9 + row * 16));
    kRungs.forEach((rung) => {
      const at = lane(rung[0], 18, rung[1].bins.length ? '' : missing(rung[0] === 'Dials' || rung[0] === 'No service' ? 5 : 1) || 'none');
      drawBars(svg, rung, at, 18);
    });
    top = lane('Upgrades', 18, upgrades.length ? '' : missing(5) || 'none');
    drawSpans(svg, upgrades, top, 18, (item) => ({class: item.word}), resultText, 2);
    const hasPower = rsrp.bins.length || rssi.bins.length;
    top = lane('Signal, dBm', 92, hasPower ? '' : missing(7) || 'no reading that is understood', hasPower && data.level < 7 ? 'RSRP at new bands' : '');
    if (hasPower) {
      scale(top, 92, -130, -50, [-115, -95, -75]);
      drawCurve(svg, rssi, top, 92, -130, -50, 'RSSI', 'dBm', 'rssi');
      drawCurve(svg, rsrp, top, 92, -130, -50, 'RSRP', 'dBm', 'rsrp');
    }
    top = lane('SINR, dB', 46, sinr.bins.length ? '' : missing(7) || 'this modem\'s lines don\'t tell');
    if (sinr.bins.length) {
      scale(top, 46, -10, 30, [0, 20]);
      drawCurve(svg, sinr, top, 46, -10, 30, 'SINR', 'dB', 'sinr');
    }
    top = lane('Temperature, \u00b0C', 46, heat.bins.length ? '' : missing(7) || 'this modem\'s lines don\'t tell', heat.bins.length && data.level < 7 ? 'out of range only' : '');
    if (heat.bins.length) {
      scale(top, 46, -20, 100, [0, 50, 85]);
      drawCurve(svg, heat, top, 46, -20, 100, 'Temperature', '\u00b0C', 'heat');
    }
    for (const line of grid.querySelectorAll('line')) line.setAttribute('y2', y);
    if (selected) {
      const hit = hits.find((h) => h.item === selected || (h.item.kind === 'several' && h.item.items.includes(selected)));
      if (hit) draw(svg, 'rect', {x: hit.x0 - 2, y: hit.y - 2, width: Math.max(6, hit.x1 - hit.x0 + 4), height: hit.height + 4, rx: 3, class: 'selected'});
    }
    svg.setAttribute('viewBox', `0 0 ${width} ${y}`);
    svg.dataset.nodes = drawn;
    chart.replaceChildren(svg);
    byId('range').textContent = timeText(from) + ' to ' + timeText(to) + ' (' + lengthText(to - from) + ')';
  };
  const resetsByKind = {soft: [], hard: [], 'sim-switch': []};
  for (const reset of resets) resetsByKind[reset.word].push(reset);
  let printing = false;

  // Pointing
  const tip = byId('tip');
  const place = (event) => {
    const box = chart.getBoundingClientRect(), factor = width / box.width;
    return {x: (event.clientX - box.left) * factor, y: (event.clientY - box.top) * factor};
  };
  const hitAt = (point) => {
    let best = null, score = -Infinity;
    for (const hit of hits) {
      const reach = hit.weight ? 3 : 0;
      if (point.x < hit.x0 - reach || point.x > hit.x1 + reach || point.y < hit.y - 1 || point.y > hit.y + hit.height + 1) continue;
      const value = hit.weight * 1000 - Math.abs(point.x - (hit.x0 + hit.x1) / 2);
      if (value > score) { best = hit; score = value; }
    }
    return best;
  };
  const summaryOf = (item, most) => {
    if (item.kind !== 'several') return [whenOf(item), linesOf(item.lines, most)];
    const list = node('ul', {class: 'lines'});
    for (const each of item.items.slice(0, most)) list.append(node('li', {}, timeText(each.from) + ' ' + titleOf(each)));
    if (item.items.length > most) list.append(node('li', {}, '... and ' + (item.items.length - most) + ' more: zoom in'));
    return [whenOf(item), list];
  };
  const hover = (event) => {
    const hit = hitAt(place(event));
    if (!hit) { tip.hidden = true; return; }
    tip.replaceChildren(node('b', {}, titleOf(hit.item)), ...summaryOf(hit.item, 3));
    tip.hidden = false;
    const box = tip.getBoundingClientRect();
    tip.style.left = Math.max(4, Math.min(event.clientX + 14, innerWidth - box.width - 8)) + 'px';
    tip.style.top = (event.clientY + box.height + 24 > innerHeight ? event.clientY - box.height - 12 : event.clientY + 16) + 'px';
  };
  const keep = (item) => {
    selected = item;
    const details = byId('details');
    if (!item) { details.replaceChildren(); setView(from, to); return; }
    const zoomTo = node('button', {type: 'button'}, 'Zoom to it');
    zoomTo.addEventListener('click', () => show(item));
    details.replaceChildren(node('div', {class: 'row'}, node('h2', {}, titleOf(item)), zoomTo));
    details.append(...summaryOf(item, 200));
    if (item.kind === 'outage') {
      if (item.wouldTell) details.append(node('p', {}, 'What would have told: ' + item.wouldTell + '.'));
      for (const number of item.resets.map((n) => resets[n]).filter(Boolean)) {
        details.append(node('p', {}, node('b', {}, timeText(number.from) + ' ' + titleOf(number) + '. '), number.achieved ? begin(number.achieved) + '.' : ''));
      }
    }
    if (item.kind === 'reset') {
      if (item.achieved) details.append(node('p', {}, 'What came of it: ' + item.achieved + '.'));
      details.append(node('p', {}, 'Next rung: ' + item.next + '.'));
    }
    if (item.lines && !item.lines.length && item.kind !== 'several') details.append(node('p', {}, 'There was no room for its lines: ravelinctl explain shows them.'));
    for (const row of document.querySelectorAll('tr.here')) row.classList.remove('here');
    if (item.kind === 'outage') {
      const row = byId('outage' + item.number);
      if (row) row.classList.add('here');
    }
    setView(from, to);
  };
  const pointers = new Map();
  let dragged = 0, start = null, rubber = null;
  chart.addEventListener('pointerdown', (event) => {
    if (event.button > 0) return;
    if (event.isTrusted) chart.setPointerCapture(event.pointerId);
    pointers.set(event.pointerId, place(event));
    const point = place(event);
    dragged = 0;
    start = {from, to, point, spread: 0, onMap: point.y < 21, marks: event.shiftKey};
    if (start.onMap) {
      const at = (point.x - gutter) / plotWidth() * total, half = (to - from) / 2;
      if (at < from || at > to) setView(at - half, at + half);
      start.from = from;
      start.to = to;
    }
    if (pointers.size === 2) {
      const [a, b] = [...pointers.values()];
      start.spread = Math.max(10, Math.abs(a.x - b.x));
      start.at = atOf((a.x + b.x) / 2);
    }
  });
  chart.addEventListener('pointermove', (event) => {
    if (!pointers.has(event.pointerId)) { hover(event); return; }
    pointers.set(event.pointerId, place(event));
    const [a, b] = [...pointers.values()];
    tip.hidden = true;
    if (b) {
      dragged = 99;
      const factor = start.spread / Math.max(10, Math.abs(a.x - b.x));
      setView(start.at - (start.at - start.from) * factor, start.at + (start.to - start.at) * factor);
      return;
    }
    dragged = Math.max(dragged, Math.abs(a.x - start.point.x));
    if (dragged < 4) return;
    chart.classList.add('moves');
    if (start.marks) {
      const svg = chart.firstElementChild;
      if (rubber) rubber.remove();
      rubber = draw(svg, 'rect', {x: Math.min(a.x, start.point.x), y: 22, width: Math.abs(a.x - start.point.x), height: 2000, class: 'rubber'});
      return;
    }
    const span = start.onMap ? total : start.from - start.to;
    const shift = (a.x - start.point.x) / plotWidth() * span;
    setView(start.from + shift, start.to + shift);
  });
  const release = (event) => {
    if (!pointers.has(event.pointerId)) return;
    const point = pointers.get(event.pointerId);
    pointers.delete(event.pointerId);
    chart.classList.remove('moves');
    if (rubber) { rubber.remove(); rubber = null; }
    if (event.type !== 'pointerup' || pointers.size) return;
    if (start.marks && dragged >= 4) {
      const a = atOf(start.point.x), b = atOf(point.x);
      setView(Math.min(a, b), Math.max(a, b));
    } else if (dragged < 4 && !start.onMap) {
      const hit = hitAt(point);
      keep(hit ? hit.item : null);
    }
  };
  chart.addEventListener('pointerup', release);
  chart.addEventListener('pointercancel', release);
  chart.addEventListener('pointerleave', () => { tip.hidden = true; });
  chart.addEventListener('wheel', (event) => {
    const isSideways = Math.abs(event.deltaX) > Math.abs(event.deltaY);
    if (!isSideways && event.deltaY > 0 && to - from >= total && !event.ctrlKey) return; // all is shown: the page scrolls
    event.preventDefault();
    const pixels = event.deltaMode === 1 ? 16 : 1;
    if (isSideways) {
      const shift = event.deltaX * pixels / plotWidth() * (to - from);
      setView(from + shift, to + shift);
    } else {
      zoom(Math.exp(Math.max(-60, Math.min(60, event.deltaY * pixels)) * (event.ctrlKey ? .012 : .004)), atOf(Math.max(gutter, place(event).x)));
    }
    tip.hidden = true;
  }, {passive: false});
  chart.addEventListener('dblclick', (event) => zoom(.4, atOf(place(event).x)));

  const nextOutage = (way) => {
    const list = filter ? outages.filter((o) => topOf(o.cause) === filter) : outages;
    if (!list.length) return;
    const at = selected && selected.kind === 'outage' ? selected.from : way > 0 ? from - 1 : to + 1;
    const found = way > 0 ? list.find((o) => o.from > at) || list[0] : [...list].reverse().find((o) => o.from < at) || list[list.length - 1];
    show(found);
    keep(found);
  };
  const nextMark = (way) => {
    const marks = hits.filter((hit) => hit.weight >= 2).sort((a, b) => a.x0 - b.x0 || a.y - b.y);
    if (!marks.length) return;
    const now = marks.findIndex((hit) => hit.item === selected);
    keep(marks[now < 0 ? (way > 0 ? 0 : marks.length - 1) : (now + way + marks.length) % marks.length].item);
  };
  const kKeys = {
    ArrowLeft: () => setView(from - (to - from) / 8, to - (to - from) / 8),
    ArrowRight: () => setView(from + (to - from) / 8, to + (to - from) / 8),
    PageUp: () => setView(from - (to - from), from),
    PageDown: () => setView(to, to + (to - from)),
    Home: () => setView(0, to - from),
    End: () => setView(total - (to - from), total),
    '+': () => zoom(.6, middle()), '=': () => zoom(.6, middle()), '-': () => zoom(1 / .6, middle()),
    0: () => setView(0, total), n: () => nextOutage(1), p: () => nextOutage(-1),
    ArrowDown: () => nextMark(1), ArrowUp: () => nextMark(-1),
    Enter: () => { if (selected) show(selected); }, Escape: () => keep(null),
  };
  chart.addEventListener('keydown', (event) => {
    if (event.ctrlKey || event.altKey || event.metaKey) return;
    const key = event.key.length === 1 ? event.key.toLowerCase() : event.key;
    if (!Object.hasOwn(kKeys, key)) return;
    event.preventDefault();
    kKeys[key]();
  });
  const press = (id, key) => byId(id).addEventListener('click', () => kKeys[key]());
  press('zoom-in', '+'); press('zoom-out', '-'); press('left', 'ArrowLeft'); press('right', 'ArrowRight');
  press('all', '0'); press('next', 'n'); press('previous', 'p');

  // Around the picture
  const swatch = (attributes) => {
    const svg = document.createElementNS(kSvg, 'svg');
    svg.setAttribute('class', 'swatch');
    svg.setAttribute('aria-hidden', 'true');
    const count = drawn;
    if (attributes.d) draw(svg, 'path', attributes); else draw(svg, 'rect', {width: 16, height: 14, ...attributes});
    drawn = count;
    return svg;
  };
  const fillSummary = () => {
    const ledger = data.ledger, summary = byId('summary');
    const card = (value, text) => node('div', {class: 'card'}, node('b', {}, value), node('span', {}, text));
    const share = (ms) => data.length > 0 ? (ms / data.length * 100).toFixed(ms / data.length > .995 ? 2 : 1) + ' %' : '-';
    const kinds = Object.entries(ledger.resetsByKind).map(([kind, count]) => count + ' ' + {soft: 'soft', hard: 'hardware', 'sim-switch': 'SIM'}[kind]);
    const rest = Math.max(0, data.length - ledger.online - ledger.outage);
    summary.replaceChildren(node('div', {class: 'cards'},
      card(share(ledger.online), 'online: ' + lengthText(ledger.online) + ', as far as the log shows'),
      card(share(ledger.outage), 'in outages: ' + lengthText(ledger.outage)),
      card(share(rest), 'starting, or not known: ' + lengthText(rest)),
      card(String(ledger.outages), 'outages; the longest ' + lengthText(ledger.longest)),
      card(String(ledger.resets), 'resets' + (kinds.length ? ': ' + kinds.join(', ') : '')),
      card(String(ledger.starts), 'starts of the daemon')));
    const causes = node('div', {class: 'causes', role: 'group', 'aria-label': 'Outages by cause; a press lists only those'});
    const words = Object.keys(ledger.outagesByCause).sort((a, b) => ledger.outageByCause[b] - ledger.outageByCause[a]);
    for (const word of words) {
      const button = node('button', {type: 'button', 'aria-pressed': 'false'}, swatch({fill: fillOf(word)}), node('span', {}, causeText(word)),
        node('span', {class: 'figure'}, ledger.outagesByCause[word] + ' \u00d7, ' + lengthText(ledger.outageByCause[word])));
      button.addEventListener('click', () => {
        filter = filter === word ? '' : word;
        for (const other of causes.children) other.setAttribute('aria-pressed', String(other === button && filter !== ''));
        fillList(kRowsAtOnce);
      });
      causes.append(button);
    }
    summary.append(causes);
    if (data.leftOut + data.linesLeftOut > 0) {
      summary.append(node('p', {class: 'note'}, 'The log has more than a page can hold: ' + data.leftOut + ' marks and the lines behind ' + data.linesLeftOut +
        ' are left out. The figures above count all. A page for a shorter part of the log has room for everything; ravelinctl explain has it too.'));
    }
  };
  const kRowsAtOnce = 100;
  const fillList = (most) => {
    const list = byId('list'), found = filter ? outages.filter((o) => topOf(o.cause) === filter) : outages;
    const title = found.length + (found.length === 1 ? ' outage' : ' outages') + (filter ? ': ' + causeText(filter) : '');
    const body = node('tbody');
    for (const outage of found.slice(0, most)) {
      const jump = node('button', {type: 'button', class: 'jump'}, outage.begins ? timeText(outage.from) : 'before the log begins');
      jump.addEventListener('click', () => {
        show(outage);
        keep(outage);
        byId('timeline').scrollIntoView({block: 'nearest'});
      });
      body.append(node('tr', {id: 'outage' + outage.number}, node('td', {class: 'number'}, jump),
        node('td', {class: 'number'}, outage.ends && outage.begins ? lengthText(outage.to - outage.from) : outage.open ? 'lasts' : 'not known'),
        node('td', {}, swatch({fill: fillOf(outage.cause)}), ' ' + causeText(outage.cause) + sure(outage.certainty)),
        node('td', {class: 'number wide'}, outage.resets.length ? outage.resets.length + (outage.resets.length === 1 ? ' reset' : ' resets') : '')));
    }
    const head = node('tr', {}, node('th', {}, 'Begin'), node('th', {}, 'Length'), node('th', {}, 'Cause'), node('th', {class: 'wide'}, 'Resets'));
    const more = node('button', {type: 'button'}, 'Show all ' + found.length);
    more.addEventListener('click', () => fillList(Infinity));
    list.replaceChildren(node('div', {class: 'row'}, node('h2', {}, title), found.length > most ? more : ''));
    if (found.length) list.append(node('div', {class: 'scroll'}, node('table', {}, node('thead', {}, head), body)));
    if (found.length > most) list.append(node('p', {}, 'The first ' + most + ' are listed.'));
  };
  const fillRest = () => {
    byId('sub').textContent = data.empty ? 'No line of the daemon was found.' :
      timeText(0) + ' to ' + timeText(data.length) + ', ' + lengthText(data.length) + ', from ' + data.names.map(shown).join(', ');
    const legend = byId('legend');
    const entry = (attributes, text) => legend.append(node('span', {}, swatch(attributes), text));
    entry({class: 'online'}, 'online'); entry({class: 'dialled'}, 'dialled'); entry({class: 'starting'}, 'starting'); entry({class: 'unknown'}, 'not known'); entry({class: 'not-ready'}, 'no SIM that is ready');
    for (const [kind, text] of Object.entries(kKinds)) entry({d: kShapes[kind](8, 7), class: 'mark ' + kind}, text.toLowerCase().replace('sim', 'SIM'));
    for (const [kind, text] of [['start', 'the daemon begins'], ['end', 'it ends'], ['request', 'a request'], ['off', 'switched off'], ['dhcp', 'DHCP script'], ['another', 'another SIM']]) {
      entry({d: kShapes[kind](8, 7), class: 'mark ' + kind}, text);
    }
    for (const [kind, text] of [['rsrp', 'RSRP'], ['rssi', 'RSSI'], ['sinr', 'SINR']]) entry({d: 'M0 7h16', class: 'curve ' + kind}, text);
    legend.append(node('span', {}, 'A low bar on the link: outages that took that share of its width.'));
    const advice = byId('advice');
    if (data.advice.length) {
      const list = node('ul');
      for (const [text, page] of data.advice) list.append(node('li', {}, text + (page ? ' (' + page + ')' : '')));
      advice.append(node('h2', {}, 'Advice'), list);
    }
    byId('foot').textContent = 'Drawn by ravelinctl ' + data.version + ' from ' + data.ledger.lines + ' lines. Times are those of the log. Where the log can\'t prove a cause, it says "probably".';
  };

  const kThemes = ['system', 'light', 'dark'];
  byId('theme').addEventListener('click', (event) => {
    const root = document.documentElement, now = kThemes.indexOf(root.dataset.theme || 'system'), next = kThemes[(now + 1) % 3];
    if (next === 'system') delete root.dataset.theme; else root.dataset.theme = next;
    event.currentTarget.textContent = 'Theme: ' + next;
  });
  addEventListener('beforeprint', () => { printing = true; fillList(Infinity); paint(); });
  addEventListener('afterprint', () => { printing = false; fillList(kRowsAtOnce); paint(); });

  byId('main').hidden = false;
  fillSummary();
  fillList(kRowsAtOnce);
  fillRest();
  paint();
  new ResizeObserver(() => { if (!printing && Math.round(chart.clientWidth) !== width) setView(from, to); }).observe(chart);
})();
