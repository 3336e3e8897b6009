"""A line of the table."""

import statistics
from dataclasses import asdict, dataclass
from typing import Callable


@dataclass(frozen=True)
class Row:
    what: str
    figure: float
    unit: str
    floor: float | None = None
    floor_is: str = ""

    @property
    def ratio(self) -> float | None:
        return self.figure / self.floor if self.floor else None

    def as_json(self) -> dict:
        return {**asdict(self), "ratio": self.ratio}

    def __str__(self) -> str:
        line = f"{self.what:<46} {self.figure:9.2f} {self.unit:<6}"
        if self.floor is not None:
            ratio = f"{self.ratio:7.2f}" if self.ratio else "      -"
            line += f" {self.floor:9.2f} {ratio}  {self.floor_is}"
        return line


def medians_in_turns(rounds: int, **measures: Callable[[], float]) -> dict[str, float]:
    """The median of each measure. They take turns, so that all meet the same moods of the machine."""
    samples: dict[str, list[float]] = {name: [] for name in measures}
    for _ in range(rounds):
        for name, measure in measures.items():
            samples[name].append(measure())
    return {name: statistics.median(values) for name, values in samples.items()}
