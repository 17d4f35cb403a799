"""Results of rz_bench, read beside the targets."""

import csv
import json


class Measured:
    """One case: milliseconds by contender, and which targets it met."""

    def __init__(self, record, targets):
        self.job = record["job"]
        self.name = record["case"]
        self.volume = record["volume"]
        self.work = record["work"]
        self.samples = record["samples"]
        self.proof = record["proof"]
        self.timings = {timing["name"]: timing for timing in record["timings"]}
        self.ours = self.timings["ours"]["warm_ms"]
        self.cold = self.timings["ours"].get("cold_ms")
        self.floor = self.timings.get("floor", {}).get("warm_ms")
        peers = [t for t in record["timings"] if t["name"] not in ("ours", "floor")]
        self.peer = min(peers, key=lambda t: t["warm_ms"], default=None)
        cold = [t for t in peers if "cold_ms" in t]
        self.cold_peer = min(cold, key=lambda t: t["cold_ms"], default=None)
        # a scan of another size has no targets of its own
        self.targets = targets if self.volume != "CT" else []

    @property
    def key(self):
        return self.job, self.name

    @property
    def ratio(self):
        return self.peer["warm_ms"] / self.ours if self.peer else None

    @property
    def cold_ratio(self):
        return self.cold_peer["cold_ms"] / self.cold if self.cold_peer and self.cold else None

    @property
    def floor_ratio(self):
        return self.ours / self.floor if self.floor else None

    def target(self, measure):
        """The target of this case by its measure, or None."""
        for row in self.targets:
            if row["measure"] == measure and row["job"] in (self.job, "*") and row["case"] in (self.name, "*"):
                return float(row["target"])
        return None

    def verdicts(self):
        """(measure, what was reached, target, whether it was met) of every target that could be measured."""
        reached = {
            "warm": self.ratio,
            "cold": self.cold_ratio,
            "ms": self.ours,
            "floor": self.floor_ratio,
        }
        found = []
        for measure, value in reached.items():
            target = self.target(measure)
            if target is None or value is None:
                continue
            met = value <= target if measure in ("ms", "floor") else value >= target
            found.append((measure, value, target, met))
        return found


def read_results(path, targets_path):
    """The head of a results file and its cases, the last one of a name."""
    with open(targets_path, newline="", encoding="utf-8") as file:
        targets = list(csv.DictReader(file))
    head, cases = None, {}
    with open(path, encoding="utf-8") as file:
        for line in file:
            record = json.loads(line)
            if "job" not in record:
                head = head or record
                continue
            case = Measured(record, targets)
            cases[(case.volume == "CT", *case.key)] = case
    return head, list(cases.values())


def unknown_names(cases, targets_path, notes_path):
    """Rows of targets and notes that name no measured case: a misspelt one would hold nobody to anything."""
    known = {case.key for case in cases}
    jobs = {case.job for case in cases}
    unknown = []
    for path in (targets_path, notes_path):
        with open(path, newline="", encoding="utf-8") as file:
            for row in csv.DictReader(file):
                anywhere = row["case"] == "*" and (row["job"] == "*" or row["job"] in jobs)
                if not anywhere and (row["job"], row["case"]) not in known:
                    unknown.append(f"{path.name}: {row['job']}: {row['case']}")
    return unknown


def read_notes(path):
    """Remarks by (job, case): why a target was missed and what was tried. Job and case may be '*'."""
    with open(path, newline="", encoding="utf-8") as file:
        return {(row["job"], row["case"]): row["note"] for row in csv.DictReader(file)}
