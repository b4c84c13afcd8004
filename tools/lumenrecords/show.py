"""Numbers as people read them."""


def number(value: float | None) -> str:
    if value is None:
        return "–"
    return f"{value:.0f}" if value == int(value) and abs(value) < 1e15 else f"{value:.4g}"


def duration(nanoseconds: float | None) -> str:
    """Three digits and a unit that suits."""
    if nanoseconds is None:
        return "–"
    for unit, size in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if abs(nanoseconds) >= size * 0.9995:
            return f"{_three_digits(nanoseconds / size)} {unit}"
    return f"{_three_digits(nanoseconds)} ns"


def factor(value: float | None) -> str:
    return "–" if value is None else f"{_three_digits(value)} ×"


def percent(fraction: float | None, sign: str = "") -> str:
    return "–" if fraction is None else f"{fraction:{sign}.1%}".replace("%", " %")


def count(number: float | None, noun: str, plural: str = "") -> str:
    """"1 case", "12 cases"."""
    if number is None:
        return f"? {plural or noun + 's'}"
    return f"{number:,.0f} {noun if number == 1 else plural or noun + 's'}".replace(",", "\u202f")


def _three_digits(value: float) -> str:
    magnitude = abs(value)
    return f"{value:.{2 if magnitude < 9.995 else 1 if magnitude < 99.95 else 0}f}"
