"""Rows for taqmsg: its time and its memory beside programs that show the same records or do as little as hello."""
import functools
import shlex
import shutil
import subprocess

from rounds import commands, paired

RECORDS = 200_000
FULL_FILE_RECORDS = 62_000  # about 4 MiB, where the writer rotates


def run(command, **kwargs):
    return subprocess.run(command, check=True, **kwargs)


class Data:
    """The files that the commands show, in a folder of their own. Large ones are made for the first row that wants them."""

    def __init__(self, context):
        self.folder, self.bin, self.env = context.folder, context.build, context.env
        self.taqmsg, self.hello = self.bin / "src/cmd/taqmsg/taqmsg", self.bin / "bench/hello"
        self._make("full", FULL_FILE_RECORDS, "-")

    def _make(self, name, count, export):
        run([self.bin / "bench/make_records", name, str(count), export], env=self.env)

    @functools.cached_property
    def all(self):
        """All records as a log data file; the same for a journal."""
        self._make("all", RECORDS, self.folder / "all.export")
        return "all_A"

    @functools.cached_property
    def text(self):
        text = self.folder / "all.txt"
        with open(text, "wb") as out:
            run([self.taqmsg, self.all], env=self.env, stdout=out)
        lines = sum(1 for _ in open(text, "rb"))
        assert lines == RECORDS, f"{lines} lines shown of {RECORDS} records"
        return text

    @functools.cached_property
    def journalctl(self):
        """Shows the journal. The importer starts a new file when one is full: the pattern takes them all."""
        assert self.all
        importer = shutil.which("systemd-journal-remote") or "/lib/systemd/systemd-journal-remote"
        run([importer, "-o", self.folder / "all.journal", self.folder / "all.export"], stderr=subprocess.DEVNULL)
        return f"journalctl --file={self.folder}/all*.journal -q --no-pager -o short"

    def peak_kib(self, command):
        """Peak resident set. GNU time forks while it is small itself, so its own size does not count."""
        out = self.folder / "rss"
        run(["/usr/bin/time", "-f", "%M", "-o", out, *shlex.split(command)], env=self.env, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL)
        return int(out.read_text().split()[-1])


def sh(pipeline):
    return f"sh -c {shlex.quote(pipeline)}"


def piped(command):
    return sh(f"{command} | cat >/dev/null")


class Row:
    """A comparison. Commands are made when the row is measured: they may need files."""

    def __init__(self, title, mine, peer, goal, at_least=False):
        self.title, self.mine, self.peer, self.goal, self.at_least = title, mine, peer, goal, at_least


START_ROWS = [
    Row("-info, against hello", lambda d: f"{d.taqmsg} -info full_A", lambda d: d.hello, 0.66),
    Row("-tail 20 on 4 MiB, against hello", lambda d: f"{d.taqmsg} -tail 20 full_A", lambda d: d.hello, 0.97),
    Row("show a full 4 MiB file, against hello", lambda d: f"{d.taqmsg} full_A", lambda d: d.hello, 2.25),
]
SHOW_ROWS = [
    Row("show everything: records/s against journalctl -o short", lambda d: d.journalctl,
        lambda d: f"{d.taqmsg} {d.all}", 20, at_least=True),
    Row("show everything through a pipe, against cat of the text", lambda d: piped(f"{d.taqmsg} {d.all}"),
        lambda d: piped(f"cat {d.text}"), 2.2),
]


def filter_rows():
    for what, option, word, field in (("message number", "-msgid 2", "K-16-201-2 ", "TAQ_MSGID=2"),
                                      ("severity", "-sev E", " ERROR ", "TAQ_SEV=1"),
                                      ("category", "-category 201", "K-16-201-", "TAQ_CATEGORY=201"),
                                      ("object type", "-otype GRP", "K-16-201-2 ", "TAQ_OTYPE=3"),
                                      ("an object name", "-oname db-primary", "db-primary", None)):
        def mine(d, option=option):
            return piped(f"{d.taqmsg} {option} {d.all} 2>&1")
        yield Row(f"filter on {what}, against grep on the text", mine,
                  lambda d, word=word: piped(f"grep -F '{word}' {d.text}"), 0.75 if field else 1.3)
        if field:
            yield Row(f"filter on {what}, against journalctl FIELD=", mine,
                      lambda d, field=field: piped(f"{d.journalctl} {field}"), 0.4)


def compare_time(data, report, context):
    for row in (*START_ROWS, *SHOW_ROWS, *filter_rows()):
        if report.wants(row.title):
            pair = commands(row.mine(data), row.peer(data), env=data.env, processor=context.processor)
            report.row(row.title, [a / b for a, b in paired(pair, context.quick)], row.goal, row.at_least)


def compare_memory(data, report):
    for what, options in (("show everything", ""), ("-tail 20", "-tail 20"), ("-info", "-info"),
                          ("filter on an object name", "-oname db-primary")):
        title = f"peak memory: {what}, against hello"
        if report.wants(title):
            mine = f"{data.taqmsg} {options} {data.all}"
            report.row(title, [data.peak_kib(mine) / data.peak_kib(str(data.hello)) for _ in range(3)], 1.25)


def compare(context, report):
    data = Data(context)
    compare_time(data, report, context)
    compare_memory(data, report)
