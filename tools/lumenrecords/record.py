"""The lines of a record as objects. A member of a line is the field of the same name, in Python's
spelling: nsPerPixel is ns_per_pixel. docs/records.md says what each means."""

from dataclasses import dataclass, field

from .verdict import Verdict

Text = str  # "" when it is missing or no text
Number = float | None  # None when it is missing, no number or not finite
Flag = bool | None
Texts = tuple[str, ...]
Numbers = tuple[float, ...]

# The slots in the order of the performance line.
SLOTS = {
    "C": "reference",
    "V": "vector",
    "Q": "ZDSP",
    "G": "GPU",
    "L": "low power",
    "P": "performance",
    "F": "CPU offload",
    "S": "CPU performance",
}
REFERENCE_SLOT = "C"


def slot_order(slot: str) -> tuple[int, str]:
    """A sort key: letters that are no slot come last."""
    return (list(SLOTS).index(slot) if slot in SLOTS else len(SLOTS), slot)


@dataclass(frozen=True)
class Subject:
    """A function in a slot."""

    module: Text = ""
    function: Text = ""
    slot: Text = ""

    def __str__(self) -> str:
        return "/".join(part for part in (self.module, self.function, self.slot) if part)


@dataclass(frozen=True)
class Run:
    schema: Number = None
    version: Text = ""
    started: Text = ""
    arguments: Texts = ()
    options: Text = ""  # of LUMEN_TEST_OPTS
    seed: Number = None
    machine: Text = ""
    system: Text = ""
    host: Text = ""
    cpu: Text = ""
    cpus: Number = None
    compiler: Text = ""
    build_type: Text = ""
    build: Text = ""
    vector_target: Text = ""
    hardware_mask: Number = None
    emulated: Flag = None

    def differences(self, other: "Run") -> list[str]:
        """What makes times of two runs a comparison of something else than the library's code."""
        return [
            f"{name} {_named(getattr(self, member))} and {_named(getattr(other, member))}"
            for member, name in _DECIDES_TIMES.items()
            if (getattr(self, member) or "") != (getattr(other, member) or "")
        ]


_DECIDES_TIMES = {
    "machine": "machine",
    "cpu": "processor",
    "emulated": "emulation",
    "compiler": "compiler",
    "build_type": "build type",
    "vector_target": "vector instructions",
}


def _named(value: Text | Flag) -> str:
    return {True: "yes", False: "no", None: "unknown", "": "unknown"}.get(value, str(value))


@dataclass(frozen=True)
class Environment:
    when: Text = ""
    governor: Texts = ()
    frequency: Numbers = ()
    temperature: Numbers = ()


@dataclass(frozen=True)
class Row:
    subject: Subject
    script: Text = ""
    row: Number = None
    verdict: Verdict = Verdict.UNKNOWN
    difference: Number = None
    tolerance: Number = None


@dataclass(frozen=True)
class Case:
    subject: Subject
    check: Text = ""
    case: Text = ""
    command: Text = ""
    verdict: Verdict = Verdict.UNKNOWN
    difference: Number = None
    tolerance: Number = None
    detail: Text = ""
    buffer: Text = ""
    offset: Number = None
    access: Text = ""
    saved: Text = ""
    reference: Text = ""
    result: Text = ""


@dataclass(frozen=True)
class Check:
    subject: Subject
    check: Text = ""
    verdict: Verdict = Verdict.UNKNOWN
    cases: Number = None
    failed_cases: Number = None
    difference: Number = None
    tolerance: Number = None
    seconds: Number = None
    detail: Text = ""


@dataclass(frozen=True)
class Bench:
    subject: Subject
    width: Number = None
    height: Number = None
    state: Text = ""
    min: Number = None
    median: Number = None
    p95: Number = None
    rmad: Number = None
    count: Number = None
    batch: Number = None
    unstable: Flag = None
    ns_per_pixel: Number = None
    samples: Numbers = ()


@dataclass(frozen=True)
class Module:
    module: Text = ""
    verdict: Verdict = Verdict.UNKNOWN


@dataclass(frozen=True)
class End:
    verdict: Verdict = Verdict.UNKNOWN
    exit_status: Number = None
    seconds: Number = None


@dataclass
class Record:
    name: str  # of the file, as it was given
    run: Run = Run()
    environments: list[Environment] = field(default_factory=list)
    rows: list[Row] = field(default_factory=list)
    cases: list[Case] = field(default_factory=list)
    checks: list[Check] = field(default_factory=list)
    benches: list[Bench] = field(default_factory=list)
    modules: list[Module] = field(default_factory=list)
    end: End | None = None  # None: the run was cut off
    subjects: dict[Subject, None] = field(default_factory=dict)  # in the order of the run
    last_subject: Subject | None = None  # of the last line about a function
    problems: list[str] = field(default_factory=list)  # where the file is not as it should be

    @property
    def cut_off(self) -> bool:
        return self.end is None
