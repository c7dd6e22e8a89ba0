"""Measures commands in paired rounds: each round runs all of them once, and a ratio is taken within its round.

What slows the machine down for a while slows a round as a whole, so it hardly touches the ratios. The figure is the
median of the ratios, not the ratio of two medians.
"""
import os
import shlex
import statistics
import time


def run_once(command, env, processor=False):
    """Runs one command without a shell; its output goes nowhere. Seconds on the wall, or processor time, its children's
    included."""
    words = shlex.split(str(command))
    nowhere = [(os.POSIX_SPAWN_OPEN, fd, "/dev/null", os.O_WRONLY, 0) for fd in (1, 2)]
    start = time.perf_counter()
    pid = os.posix_spawnp(words[0], words, env, file_actions=nowhere)
    _, status, usage = os.wait4(pid, 0)
    wall = time.perf_counter() - start
    if status != 0:
        raise RuntimeError(f"{command}: status {os.waitstatus_to_exitcode(status)}")
    return usage.ru_utime + usage.ru_stime if processor else wall


def paired(measures, quick, seconds=4.0):
    """Rounds of results: each of the measures, functions without argument, once in each round. Every second round
    goes backwards, so that none always follows the same one. At least 15 rounds (quick: 5) and `seconds`."""
    rounds, least, end = [], 5 if quick else 15, time.monotonic() + (seconds / 4 if quick else seconds)
    for measure in measures:
        measure()  # files and pages are warm from here on
    while len(rounds) < least or time.monotonic() < end:
        order = range(len(measures)) if len(rounds) % 2 == 0 else reversed(range(len(measures)))
        results = {i: measures[i]() for i in order}
        rounds.append([results[i] for i in range(len(measures))])
    return rounds


def commands(*lines, env, processor=False):
    """Measures for paired(), from commands."""
    return [lambda line=line: run_once(line, env, processor) for line in lines]


class Ratios:
    """The ratios of many rounds: their median, and the quarters around it."""

    def __init__(self, ratios):
        self.median = statistics.median(ratios)
        self.low, _, self.high = statistics.quantiles(ratios, n=4)


class Report:
    """Prints a row for each comparison and counts the goals that were missed."""

    def __init__(self, only):
        self.only, self.missed = only, 0
        print(f"{'what':66} {'ratio':>8}  {'half of the rounds':>18}  goal")

    def wants(self, title):
        return self.only in title

    def row(self, title, ratios, goal=None, at_least=False):
        """A goal of None: the row is for information."""
        ratios = Ratios(ratios)
        between = f"{ratios.low:.3g} to {ratios.high:.3g}"
        line = f"{title:66} {ratios.median:8.3g}  {between:>18}"
        if goal is not None:
            met = ratios.median >= goal if at_least else ratios.median <= goal
            self.missed += not met
            line += f"  {'at least' if at_least else 'at most'} {goal}{'' if met else '   MISSED'}"
        print(line, flush=True)
