"""Rows for allocation: new and delete of the library against malloc and free, which have a process of their own."""
import json
import re
import statistics
import subprocess

from rounds import paired

PAIR, ELSEWHERE = 2.2, 1.4
# Title, benchmark, goal. Every benchmark runs with several sizes.
ROWS = [
    ("new and delete of {} bytes, one thread so far", "BM_Alone", PAIR),
    ("new and delete of {} bytes, worst of 1 to 8 threads", "BM_Pair", PAIR),
    ("new of {} bytes, deleted by another thread, worst of 2 to 8", "BM_FreedElsewhere", ELSEWHERE),
]


def times(program):
    """Processor time of each benchmark; the benchmarks that wait for other threads measure it by themselves."""
    output = subprocess.run([program, "--benchmark_format=json", "--benchmark_min_time=0.03"], check=True,
                            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
    return {result["name"]: result["real_time"] if "manual_time" in result["name"] else result["cpu_time"]
            for result in json.loads(output)["benchmarks"]}


def compare(context, report):
    rows = [row for row in ROWS if report.wants(row[0])]
    if not rows:
        return
    programs = [context.build / "bench" / name for name in ("bench_memory", "bench_malloc")]
    rounds = paired([lambda program=program: times(program) for program in programs], context.quick)
    by_size = {}  # ratios of each number of threads
    for name in rounds[0][0]:
        key = re.fullmatch(r"(\w+)/size:(\d+).*", name).groups()
        by_size.setdefault(key, []).append([mine[name] / peer[name] for mine, peer in rounds])
    for title, benchmark, goal in rows:
        for name, size in by_size:
            if name == benchmark:
                report.row(title.format(size), max(by_size[name, size], key=statistics.median), goal)
