"""The head of a record: verdict, machine, build, options, and whatever casts doubt on it."""

from lumenrecords import show
from lumenrecords.record import Environment, Record, Run
from lumenrecords.select import checks_of, module_verdicts, overall_verdict
from lumenrecords.verdict import Verdict

from .markup import Html, join, tag
from .parts import Source, badge, facts, note, tally_text, warning


def head(source: Source) -> Html:
    record = source.record
    run = record.run
    title = f"{source.label}: {record.name}" if source.label else record.name
    return tag(
        "div",
        tag("div", tag("h3", title), _overall(record), class_="line"),
        _counts(record),
        *_cut_off(record),
        *_doubts(record),
        facts(_run_facts(run)),
        facts(_environment_facts(record.environments)),
        class_="card",
        id=source.anchor("head"),
    )


def _overall(record: Record) -> Html:
    if record.cut_off:
        return badge(Verdict.CRASHED, "CUT OFF", "big")
    return badge(overall_verdict(record), class_="big")


def _counts(record: Record) -> Html:
    modules = module_verdicts(record)
    built = sum(verdict is not Verdict.NOT_BUILT for verdict in modules.values())
    checks = [check.verdict for of in checks_of(record).values() for check in of.values()]
    texts = [
        f"{built} of {show.count(len(modules), 'module')} built: {tally_text(modules.values())}"
        if modules else "no module has a verdict",
        f"{show.count(len(checks), 'check')}: {tally_text(checks)}" if checks else "no check",
    ]
    if record.end:
        own = f"the program's own verdict is {record.end.verdict.label}"
        if record.end.exit_status is not None:
            own += f", exit status {record.end.exit_status:g}"
        if record.end.seconds is not None:
            own += f", after {show.duration(record.end.seconds * 1e9)}"
        texts.append(own)
    return tag("p", "; ".join(texts), ".")


def _cut_off(record: Record) -> list[Html]:
    if not record.cut_off:
        return []
    last = record.last_subject
    about = f" The last line about a function is about {last}." if last else ""
    return [warning("The record has no end: the run crashed, was stopped or is still going on.",
                    about, " What follows is all that was written.", cut=True)]


def _doubts(record: Record) -> list[Html]:
    run = record.run
    doubts = [f"In the file, {problem}." for problem in record.problems]
    if run.build_type and run.build_type not in ("Release", "RelWithDebInfo"):
        doubts.append(f"This is a {run.build_type} build: its times say little.")
    if run.emulated:
        doubts.append("The processor was emulated: times say nothing about a real one.")
    governors = {name for item in record.environments for name in item.governor}
    if record.benches and governors - {"performance"}:
        doubts.append("The clocks were not fixed (governor "
                      f"{', '.join(sorted(governors))}): times may drift.")
    unstable = sum(bench.unstable is True for bench in record.benches)
    if unstable:
        doubts.append(f"{unstable} of {show.count(len(record.benches), 'timing')} "
                      "did not settle and are marked unstable.")
    return [warning(doubt) for doubt in doubts]


def _run_facts(run: Run) -> list[tuple[str, object]]:
    processors = f" ({show.count(run.cpus, 'processor')})" if run.cpus else ""
    mask = run.hardware_mask
    return [
        ("machine", " ".join(filter(None, (run.host, run.machine)))),
        ("system", run.system),
        ("processor", run.cpu + processors if run.cpu else processors.strip(" ()")),
        ("vector instructions", run.vector_target),
        ("hardware mask", "" if mask is None or mask < 0 else f"0x{int(mask):x}"),
        ("version", run.version),
        ("build", run.build),
        ("build type", run.build_type),
        ("compiler", run.compiler),
        ("started", run.started),
        ("seed", show.number(run.seed) if run.seed is not None else ""),
        ("arguments", tag("code", " ".join(run.arguments)) if run.arguments else ""),
        ("LUMEN_TEST_OPTS", tag("code", run.options) if run.options else ""),
    ]


def _environment_facts(environments: list[Environment]) -> list[tuple[str, object]]:
    found: list[tuple[str, object]] = []
    for item in environments:
        texts = [
            ", ".join(sorted(set(item.governor))),
            _range([kilohertz / 1000 for kilohertz in item.frequency], "MHz"),
            _range(list(item.temperature), "°C"),
        ]
        found.append((f"{item.when or 'some time'}: governor, clocks, temperature",
                      "; ".join(filter(None, texts))))
    return found


def _range(values: list[float], unit: str) -> str:
    if not values:
        return ""
    low, high = min(values), max(values)
    text = f"{low:.0f}" if round(low) == round(high) else f"{low:.0f} to {high:.0f}"
    return f"{text} {unit}"


def legend() -> Html:
    return note(join([
        "Slots: C reference, V vector, Q ZDSP, G GPU; operation modes: L low power, "
        "P performance, F CPU offload, S CPU performance. ",
        "A run whose checks found a failure is shown as FAIL whatever its exit status is.",
    ]))
