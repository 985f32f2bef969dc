# coverage_table.py COUNTS LEFT_OUT PERCENT: the table of scripts/coverage from gcovr's counts, and what is wrong with them:
# lines that no test runs and that LEFT_OUT doesn't have, entries of LEFT_OUT that are out of date, and less than PERCENT of
# the branches. Ends with 1 when there is any.
import json
import sys


def read_left_out(path):
    """Reasons by file and text of the line."""
    reasons = {}
    with open(path, encoding="utf-8") as lines:
        for line in lines:
            if not line.strip() or line.startswith("#"):
                continue
            file, text, reason = (field.strip() for field in line.split(" | "))
            reasons[file, text] = reason
    return reasons


def share(part, whole):
    return f"{part:5}/{whole:<5} {100 * part / whole if whole else 100:5.1f} %"


def main(counts_path, left_out_path, percent):
    with open(counts_path, encoding="utf-8") as file:
        counts = json.load(file)
    reasons = read_left_out(left_out_path)
    used = set()
    named = []
    total = [0, 0, 0, 0]
    print(f"{'':42} {'lines':19}  branches")
    for entry in sorted(counts["files"], key=lambda entry: entry["file"]):
        path = entry["file"]
        with open(path, encoding="utf-8") as source:
            texts = source.read().split("\n")
        row = [0, 0, 0, 0]
        for line in entry["lines"]:
            if line.get("gcovr/noncode"):
                continue
            text = texts[line["line_number"] - 1].strip()
            if line["count"] == 0 and (path, text) in reasons:
                used.add((path, text))
                continue
            branches = [branch for branch in line["branches"] if not branch.get("throw")]
            row[0] += line["count"] > 0
            row[1] += 1
            row[2] += sum(branch["count"] > 0 for branch in branches)
            row[3] += len(branches)
            if line["count"] == 0:
                named.append(f"{path}:{line['line_number']}: no test runs it: {text}")
        print(f"{path:42} {share(*row[:2])}  {share(*row[2:])}")
        total = [sum(pair) for pair in zip(total, row)]
    print(f"{'all':42} {share(*total[:2])}  {share(*total[2:])}")

    print(f"\nleft out, with the reason in {left_out_path}: {len(used)} texts of lines")
    for path, text in reasons:
        if (path, text) not in used:
            named.append(f"{left_out_path}: a test runs it, or it isn't there: {path} | {text}")
    if 100 * total[2] < percent * total[3]:
        named.append(f"less than {percent} % of the branches are run")
    print("\n".join(named))
    return 1 if named else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2], int(sys.argv[3])))
