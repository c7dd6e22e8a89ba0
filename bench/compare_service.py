"""Rows for a service: what a message costs the thread that logs it, and the process.

Each system has a process of its own: the library replaces the operators new and delete, which would serve its peers too.
"""
import json
import subprocess

from rounds import commands, paired

PRODUCERS = [("main", 0), ("second", 1)]
# Messages in a burst, bursts of one run, goal.
BURSTS = [(100, 60, 0.6), (1_000, 20, None), (10_000, 5, 0.25)]
DRAINED = 20_000  # messages for the logger thread as a whole


def burst(program, words, env):
    """One run of a burst program: nanoseconds for one message by name, see bench/burst.h."""
    output = subprocess.run([program, *words.split()], env=env, check=True, stdout=subprocess.PIPE, text=True).stdout
    return {name: float(value) for name, value in (word.split("=") for word in output.split())}


class Programs:
    """The burst programs of this build, and those of an older one, if it was given."""

    def __init__(self, context):
        self._env, self._bench = context.env, context.build / "bench"
        self._before = context.before / "bench" if context.before else None

    def taq(self, words):
        return lambda: burst(self._bench / "burst_taq", words, self._env)

    def before(self, words):
        return lambda: burst(self._before / "burst_taq", words, self._env)

    def spdlog(self, words):
        return lambda: burst(self._bench / "burst_spdlog", words, self._env)

    def bare(self, words):
        return lambda: burst(self._bench / "burst_bare", words, self._env)


def row(report, quick, title, mine, peer, figure, goal):
    if report.wants(title):
        report.row(title, [a[figure] / b[figure] for a, b in paired([mine, peer], quick)], goal)


def compare_producers(programs, report, quick):
    for thread, threads in PRODUCERS:
        for length, bursts, goal in BURSTS:
            words = f"{threads} {length} {bursts}"
            row(report, quick, f"burst of {length:,}, {thread} thread, against spdlog async", programs.taq(words),
                programs.spdlog(words), "call", goal)
    row(report, quick, "a call every 20 us, against spdlog async", programs.taq("0 2000 1 20"),
        programs.spdlog("0 2000 1 20"), "call", None)


def compare_before(programs, report, quick):
    """What has become of an older build."""
    for what, figure in (("their", "producers"), ("the process's", "process")):
        row(report, quick, f"4 producers, {what} processor time, against before", programs.taq("4 2500 5"),
            programs.before("4 2500 5"), figure, 0.4)
    row(report, quick, "a call every 20 us, against before", programs.taq("0 2000 1 20"), programs.before("0 2000 1 20"),
        "call", 0.05)


def compare_writing(programs, report, quick):
    words = f"0 {DRAINED} 1"
    for title, figure, goal in (("logger thread, on the wall, against write_app without it", "written", 0.30),
                                ("the same in processor time, the producer's included", "process", 0.10)):
        row(report, quick, title, programs.taq(words), programs.taq(f"direct {words}"), figure, goal)
    # Nobody but the producer works here, so its processor time is the whole cost.
    row(report, quick, "write_app with LDF copy, against its three bare calls", programs.taq(f"direct {words}"),
        programs.bare(words), "producers", 1.10)
    # Three system calls against one.
    row(report, quick, "write_app with LDF copy, against spdlog flushing each message", programs.taq(f"direct {words}"),
        programs.spdlog(f"flushed {words}"), "producers", 3.0)


def compare_writer(context, report):
    title, count = "LdfWriter::write, against two bare pwrite calls", 200_000
    if not report.wants(title):
        return
    write, bare = context.build / "bench/ldf_write", f"{context.build}/bench/bare_pwrite {context.folder}/bare"
    lines = f"{write} {count}", f"{write} 0", f"{bare} {count}", f"{bare} 0"
    rounds = paired(commands(*lines, env=context.env, processor=context.processor), context.quick)
    report.row(title, [(a - b) / (c - d) for a, b, c, d in rounds], 1.15)


def compare_capture(context, report):
    title = "captured entry, against snprintf of the same entry"
    if not report.wants(title):
        return

    def measure():
        output = subprocess.run([context.build / "bench/bench_service", "--benchmark_format=json", "--benchmark_min_time=0.1"],
                                env=context.env, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
        return {result["name"]: result["cpu_time"] for result in json.loads(output)["benchmarks"]}

    rounds = paired([measure], context.quick)
    report.row(title, [times["BM_CapturedEntry"] / times["BM_SnprintfOfEntry"] for times, in rounds], 3.0)


def compare(context, report):
    programs = Programs(context)
    compare_producers(programs, report, context.quick)
    if context.before:
        compare_before(programs, report, context.quick)
    compare_writing(programs, report, context.quick)
    compare_writer(context, report)
    compare_capture(context, report)
