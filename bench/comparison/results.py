"""Collects the costs of every round, and formats them as Markdown."""

import statistics
from typing import NamedTuple

FLOORS = ("curl", "newsboat", "gpodder")


class Goal(NamedTuple):
    text: str
    measured: float
    bound: float
    unit: str


class Results:
    def __init__(self):
        self.rounds = {}  # (work, program) -> the costs, in the order of the rounds
        self.goals = []
        self.notes = []
        self.growth = None  # growth of our database file while every address changes, as a ratio

    def add(self, work, program, cost):
        self.rounds.setdefault((work, program), []).append(cost)

    def note(self, text):
        if text not in self.notes:
            self.notes.append(text)

    def seconds(self, work, program):
        return [cost.seconds for cost in self.rounds.get((work, program), [])]

    def median(self, work, program):
        return statistics.median(self.seconds(work, program))

    def best(self, work, program):
        return min(self.seconds(work, program))

    def peak(self, work, program):
        return max(cost.peak_mb for cost in self.rounds[(work, program)])

    def ratio(self, work, program, other, other_work=None):
        """The median of the ratios within each round, since a slow moment of the machine affects both sides. None if
        one of the two was not run."""
        pairs = list(zip(self.seconds(work, program), self.seconds(other_work or work, other)))
        return statistics.median(mine / theirs for mine, theirs in pairs) if pairs else None

    def goal(self, text, measured, bound, unit="×"):
        if measured is not None:
            self.goals.append(Goal(text, measured, bound, unit))

    def markdown(self):
        lines = ["| work | program | rounds | median s | best s | spread s | peak MB | "
                 + " | ".join(f"× {floor}" for floor in FLOORS) + " |",
                 "|---|---|" + "--:|" * (5 + len(FLOORS))]
        lines += [self._row(work, program) for work, program in self.rounds]
        if self.goals:
            lines += ["", "| goal | measured | bound | |", "|---|--:|--:|---|"]
            lines += [f"| {goal.text} | {_number(goal.measured)} {goal.unit} | {_number(goal.bound)} {goal.unit} | "
                      f"{'met' if goal.measured <= goal.bound else '**missed**'} |" for goal in self.goals]
        if self.notes:
            lines += [""] + [f"- {note}" for note in self.notes]
        return "\n".join(lines)

    def _row(self, work, program):
        seconds = self.seconds(work, program)
        cells = [work, program, str(len(seconds)), _number(statistics.median(seconds)), _number(min(seconds)),
                 f"{_number(min(seconds))} to {_number(max(seconds))}" if len(seconds) > 1 else "",
                 f"{self.peak(work, program):.0f}"]
        for floor in FLOORS:
            ratio = None if floor == program else self.ratio(work, program, floor)
            cells.append("" if ratio is None else _number(ratio))
        return "| " + " | ".join(cells) + " |"


def _number(value):
    if value >= 100:
        return f"{value:.0f}"
    return f"{value:.1f}" if value >= 10 else f"{value:.2f}"
