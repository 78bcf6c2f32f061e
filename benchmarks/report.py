"""Runs the benchmark program, and makes tables and a plot of what it says. tools/bench calls it."""
import argparse
import collections
import json
import math
import os
import platform
import re
import shutil
import statistics
import subprocess
import sys
import tempfile

# What is asked of the library: a role or a way, and how many times its time the library may take at the most.
STRING_PEERS = ("from a string", 1.0)
TARGETS = {
    "extension": [("floor", 1.15), STRING_PEERS],
    "file name": [("floor", 1.15), STRING_PEERS],
    "parent": [("floor", 1.15), STRING_PEERS],
    "replaced extension": [("floor", 1.15), STRING_PEERS],
    "normal form, absolute": [("floor", 1.1), STRING_PEERS],
    "normal form, relative": [("floor", 1.3), STRING_PEERS],
    "relative path": [("floor", 1.3), STRING_PEERS],
    "compare": [("peer", 1.0)],
    "below": [("peer", 1.0)],
    "UTF-8 to UTF-16 and back": [STRING_PEERS],
    "list": [("limit", 1.35), ("peer", 1.0)],
    "list by a pattern": [("glob", 1.0)],
    "existence": [("limit", 1.2)],
    "free name": [("floor", 1.25)],
    "copy a large file": [("limit", 1.05)],
    "copy a tree": [("limit", 1.7), ("cp -r -p", 1.0)],
    "delete a tree": [("limit", 1.15)],
    "trash": [("limit", 1.8)],
    "catalogue, 1000": [("limit", 1.5)],
    "catalogue, 10000": [("limit", 1.5)],
    "catalogue, 100000": [("limit", 1.5)],
    "launch": [("limit", 1.25)],
    "launch from a large process": [("limit", 1.25)],
}
LONG = "copy|delete|launch|list|trash"  # how the jobs begin whose runs take their time
SHORT = {"from a string": "peer", "glob": "glob", "cp -r -p": "cp"}
ROLES = ("limit", "floor", "library", "peer")


class Way(collections.namedtuple("Way", "job role how items")):
    """One way in which a job is done."""

    def is_meant(self, words):
        return self.role == words or (self.role == "peer" and words in self.how)


# ---- Measuring ----


def measure(options, jobs, repetitions, minimum):
    """The median time of one operation in nanoseconds, for each way. It is the processor's, so that other programs on
    the machine count for little; where a program waits for another, or a run is timed by itself, it is the clock's."""
    output = run(options, f"--jobs={jobs}", "--benchmark_format=json", "--benchmark_enable_random_interleaving=true",
                 f"--benchmark_repetitions={repetitions}", f"--benchmark_min_time={minimum}",
                 "--benchmark_min_warmup_time=0.001")
    if not output.startswith("{"):
        return {}  # no job is called so
    content = json.loads(output)
    times = collections.defaultdict(list)
    for entry in content["benchmarks"]:
        if entry["run_type"] == "iteration":
            job, role, how = entry["name"].split("/")[:3]
            by_clock = "launch" in job or "manual_time" in entry["name"]
            time = entry["real_time" if by_clock else "cpu_time"]
            nanoseconds = time * {"ns": 1, "us": 1e3, "ms": 1e6}[entry["time_unit"]]
            times[Way(job, role, how, int(entry["items"]))].append(nanoseconds / entry["items"])
    return {way: statistics.median(values) for way, values in times.items()}


def run(options, *words, tool=()):
    command = [*tool, options.program, *(["--quick"] if options.quick else []), *words]
    done = subprocess.run(command, stdout=subprocess.PIPE, text=True, env={**os.environ, "TMPDIR": options.scratch})
    if done.returncode != 0:
        sys.exit(f"{' '.join(command)} ended with {done.returncode}\n{done.stdout}")
    return done.stdout


def counted_way(name):
    job, role, how, items = name.split("/")
    return Way(job, role, how, int(items))


def count_system_calls(options):
    """Between the marks of the program, in what strace writes. A call goes on in a line of its own when another thread
    or process comes between."""
    counts = collections.Counter()
    way = None
    with tempfile.NamedTemporaryFile() as trace:
        run(options, "--count", f"--jobs={options.filter}", tool=("strace", "-f", "-qq", "-s", "200", "-o", trace.name))
        with open(trace.name, encoding="utf-8", errors="replace") as lines:
            for line in lines:
                mark = re.search(r'write\(-1, "(begin|end): ([^"]*)"', line)
                if mark:
                    way = counted_way(mark[2]) if mark[1] == "begin" else None
                elif way and re.match(r"\d+ +[a-z]\w*\(", line):
                    counts[way] += 1
    return {way: count / way.items for way, count in counts.items()}


def count_instructions(options):
    """Of the program alone: what the kernel does is not in it."""
    counts = {}
    with tempfile.TemporaryDirectory() as folder:
        run(options, "--count", f"--jobs={options.filter}",
            tool=("valgrind", "--quiet", "--tool=callgrind", "--instr-atstart=no",
                  f"--callgrind-out-file={folder}/callgrind.out"))
        for name in os.listdir(folder):
            with open(os.path.join(folder, name), encoding="utf-8", errors="replace") as file:
                content = file.read()
            way = re.search(r"^desc: Trigger: Client Request: (.*)$", content, re.M)
            total = re.search(r"^(?:totals|summary): (\d+)", content, re.M)
            if way and total:
                counts[counted_way(way[1])] = int(total[1]) / counted_way(way[1]).items
    return counts


def describe_machine(options):
    model = platform.processor() or platform.machine()
    memory = ""
    if os.path.exists("/proc/cpuinfo"):
        with open("/proc/cpuinfo", encoding="utf-8") as file:
            model = next((line.split(": ")[1].strip() for line in file if line.startswith("model name")), model)
        with open("/proc/meminfo", encoding="utf-8") as file:
            memory = f", {int(file.readline().split()[1]) // 2**20} GiB"
    volume = subprocess.run(["stat", "-f", "-c", "%T", options.scratch], stdout=subprocess.PIPE, text=True).stdout
    return (f"{model}, {os.cpu_count()} processors{memory}, {platform.system()} {platform.release()}, "
            f"files on {volume.strip()}, load {options.load:.1f} at the start")


# ---- Tables ----


def jobs_of(ways):
    known = [job for job in TARGETS if any(way.job == job for way in ways)]
    return known + sorted({way.job for way in ways} - set(known))


def best(values, job, words):
    """The way that the words name, the fastest of several."""
    return min(((value, way) for way, value in values.items() if way.job == job and way.is_meant(words)), default=None)


def best_peer(values, job):
    return best(values, job, "from a string") or best(values, job, "peer")


def time_text(nanoseconds):
    for unit, size in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= size:
            return f"{nanoseconds / size:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def count_text(count):
    return f"{count:,.0f}" if count >= 100 else f"{count:.3g}"


def ratio_text(value, other):
    return f"{value[0] / other[0]:.2f}" if value and other else "–"


def check(values, job):
    """What is asked, and whether it holds."""
    library = best(values, job, "library")
    words = []
    met = True
    for meant, factor in TARGETS.get(job, []):
        other = best(values, job, meant)
        if library is None or other is None:
            return "–", "–"
        words.append(f"≤ {factor:g} {SHORT.get(meant, meant)}")
        met = met and library[0] <= factor * other[0]
    return ", ".join(words) or "–", "yes" if met and words else "no" if words else "–"


def print_table(title, header, rows):
    """Markdown, in columns that also read well as they are."""
    if not rows:
        return
    widths = [max(len(row[column]) for row in [header, *rows]) for column in range(len(header))]
    print(f"\n### {title}\n")
    for row in (header, ["-" * width for width in widths], *rows):
        print("| " + " | ".join(cell.ljust(width) for cell, width in zip(row, widths)) + " |")


def print_times(values):
    rows = []
    for job in jobs_of(values):
        chosen = [best(values, job, "limit"), best(values, job, "floor"), best(values, job, "library"),
                  best_peer(values, job)]
        limit, floor, library, peer = chosen
        items = f"{library[1].items:,}" if library else "–"
        rows.append([job, items, *(time_text(each[0]) if each else "–" for each in chosen),
                     ratio_text(library, limit), ratio_text(library, floor), ratio_text(library, peer),
                     *check(values, job), peer[1].how if peer else "–"])
    print_table("Time of one operation", ["job", "size", *ROLES, "lib/limit", "lib/floor", "lib/peer", "asked", "met",
                                          "nearest peer"], rows)


def print_counts(calls, instructions):
    rows = []
    for job in jobs_of({**calls, **instructions}):
        def cells(values):
            chosen = [best(values, job, "limit"), best(values, job, "floor"), best(values, job, "library"),
                      best_peer(values, job)]
            return [count_text(each[0]) if each else "–" for each in chosen]
        rows.append([job, *cells(calls), *cells(instructions)])
    print_table("System calls and instructions of one operation", ["job", *(f"calls: {role}" for role in ROLES),
                                                                   *(f"instr.: {role}" for role in ROLES)], rows)


def print_growth(values):
    grown = collections.defaultdict(dict)
    for way, value in values.items():
        job, _, size = way.job.removeprefix("growth, ").rpartition(", ")
        grown[job][int(size)] = value
    sizes = sorted({size for times in grown.values() for size in times})
    rows = [[job, *(time_text(times[size]) for size in sizes), f"{times[sizes[-1]] / times[sizes[0]]:.2f}"]
            for job, times in grown.items()]
    print_table("Growth: time of one item, among so many", ["job", *(f"{size:,}" for size in sizes), "last/first"],
                rows)


# ---- The plot ----


# Shape and colour say the same, so either is enough.
MARKS = {
    "limit": ("#444", '<path d="M{x:.1f} {top:.1f}v13" stroke="{colour}" stroke-width="2"/>',
              "the line at 1: the bare system calls, or the tightest loop over views and buffers"),
    "floor": ("#6b7280", '<path d="M{x:.1f} {top:.1f}l6.5 6.5l-6.5 6.5l-6.5 -6.5z" fill="none" stroke="{colour}"/>',
              "what a careful programmer writes with the signature of the call"),
    "peer": ("#c8553d", '<path d="M{x:.1f} {y:.1f}m-5 -5l10 10m0 -10l-10 10" stroke="{colour}" stroke-width="2.5"/>',
             "the nearest that any reader has, such as std::filesystem, glob, cp -r -p or fork"),
    "library": ("#0b6e4f", '<circle cx="{x:.1f}" cy="{y:.1f}" r="4" fill="{colour}"/>',
                "the call of the shared library"),
}


def mark(role, x, y):
    colour, shape, _ = MARKS[role]
    return shape.format(x=x, y=y, top=y - 6.5, colour=colour)


def plot(values, machine, path):
    """The time of each way as a multiple of the limit's, on a logarithmic scale."""
    jobs = [job for job in jobs_of(values) if best(values, job, "limit")]
    left, width, row_height, top = 210, 560, 24, 136
    height = top + row_height * len(jobs) + 40

    def place(ratio):
        low, high = math.log10(0.4), math.log10(130)
        return left + width * (min(max(math.log10(ratio), low), high) - low) / (high - low)

    lines = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {left + width + 30} {height}" '
             'font-family="sans-serif" font-size="12">',
             f'<rect width="{left + width + 30}" height="{height}" fill="white"/>',
             '<text x="12" y="20" font-size="14">Time as a multiple of the limit: further left is faster '
             '(logarithmic)</text>']
    for index, (role, (_, _, meaning)) in enumerate(MARKS.items()):
        y = 42 + 20 * index
        lines.append(f'{mark(role, 24, y)}<text x="40" y="{y + 4}" font-weight="bold">{role}</text>'
                     f'<text x="100" y="{y + 4}">{meaning}</text>')
    for ratio in (0.5, 1, 2, 5, 10, 20, 50, 100):
        x = place(ratio)
        stroke = 'stroke="#444" stroke-width="2"' if ratio == 1 else 'stroke="#ddd"'
        lines.append(f'<line x1="{x:.1f}" x2="{x:.1f}" y1="{top - 8}" y2="{height - 34}" {stroke}/>'
                     f'<text x="{x:.1f}" y="{height - 20}" text-anchor="middle">{ratio:g}</text>')
    for index, job in enumerate(jobs):
        y = top + row_height * index + 6
        limit = best(values, job, "limit")[0]
        lines.append(f'<text x="{left - 10}" y="{y + 4}" text-anchor="end">{job}</text>')
        chosen = {"floor": best(values, job, "floor"), "peer": best_peer(values, job),
                  "library": best(values, job, "library")}
        for role, way in chosen.items():
            if way:
                lines.append(f'<g>{mark(role, place(way[0] / limit), y)}'
                             f'<title>{role}: {way[0] / limit:.2f}</title></g>')
    lines.append(f'<text x="12" y="{height - 4}" font-size="9" fill="#666">{machine}</text></svg>')
    with open(path, "w", encoding="utf-8") as file:
        file.write("\n".join(lines) + "\n")


# ---- The whole ----


def parse_options():
    parser = argparse.ArgumentParser(prog="tools/bench", description="Builds and runs the benchmarks.")
    parser.add_argument("--program", required=True, help=argparse.SUPPRESS)
    parser.add_argument("--quick", action="store_true", help="smaller sizes and fewer repetitions: under a minute")
    parser.add_argument("--filter", default=".", metavar="REGEX", help="these jobs only")
    parser.add_argument("--times", action="store_true", help="the first table only")
    parser.add_argument("--plot", metavar="FILE", help="draw the ratios into an SVG file")
    parser.add_argument("--scratch", metavar="FOLDER", help="where the files stand; /dev/shm if there is one, as a disk "
                        "adds its own time and noise")
    options = parser.parse_args()
    if options.scratch is None:
        options.scratch = "/dev/shm" if os.path.isdir("/dev/shm") else tempfile.gettempdir()
    options.load = os.getloadavg()[0]
    return options


def main():
    options = parse_options()
    # What is short is repeated often, as other machines can slow a tenth of a second down and not the next one.
    of_short, of_long = (15, 7) if options.quick else (75, 15)
    times = measure(options, f"^(?!growth|{LONG})(?=.*({options.filter}))", of_short, 0.01)
    times |= measure(options, f"^(?={LONG})(?=.*({options.filter}))", of_long, 0.02)
    result = {"machine": describe_machine(options), "quick": options.quick, "times": times}
    if not options.times:
        result["growth"] = measure(options, f"^(?=growth)(?=.*({options.filter}))", 3, 0.02)
        result["system calls"] = count_system_calls(options)
        if shutil.which("valgrind"):
            result["instructions"] = count_instructions(options)
    if not any(values for name, values in result.items() if name not in ("machine", "quick")):
        sys.exit(f"no job is called {options.filter}")
    if options.plot:
        plot(times, result["machine"], options.plot)
    print(result["machine"])
    print_times(times)
    if not options.times:
        print_counts(result["system calls"], result.get("instructions", {}))
        print_growth(result["growth"])


main()
