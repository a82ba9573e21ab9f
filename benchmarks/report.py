# SPDX-License-Identifier: Apache-2.0
# Turns the kept JSON of a benchmark run into the Markdown table of ratios.
import collections
import statistics

JOBS = {
    "cubic": "cubic resampling",
    "linear": "linear resampling",
    "shape": "shaping by three impulses",
    "blend_scalar": "blend, scalar weight",
    "blend_rows": "blend, weight per row",
    "derivative": "three-point derivative",
    "first_difference": "forward difference",
    "path_coordinate": "path coordinate",
}
PEERS = {
    ("cubic", "scipy"): "scipy `CubicSpline` and three evaluations",
    ("cubic", "scipy_as_started"): "scipy `CubicSpline` and three evaluations, allocator as Python starts",
    ("cubic", "gsl"): "GSL cspline per joint (natural ends)",
    ("cubic", "alglib"): "ALGLIB per joint, `spline1ddiff` per entry",
    ("cubic", "alglib_grid"): "ALGLIB per joint, `spline1dconvdiff2cubic`",
    ("cubic", "boost_makima"): "Boost.Math `makima` per joint (no accelerations)",
    ("cubic", "dense"): "dense `PartialPivLU`",
    ("linear", "eigen"): "plain Eigen loop",
    ("linear", "eigen_checked"): "plain Eigen loop with the same checks",
    ("linear", "numpy"): "`numpy.interp` per joint",
    ("linear", "numpy_as_started"): "`numpy.interp` per joint, allocator as Python starts",
    ("shape", "scipy"): "scipy `CubicSpline`, its evaluations and sums",
    ("shape", "scipy_as_started"): "scipy `CubicSpline`, its evaluations and sums, allocator as Python starts",
    ("blend_scalar", "eigen"): "plain Eigen expression (rounds otherwise)",
    ("blend_scalar", "libm_fma"): "loop with libm `fma`",
    ("blend_rows", "eigen"): "plain Eigen loop",
    ("derivative", "eigen"): "plain Eigen loop",
    ("derivative", "numpy"): "`numpy.gradient(edge_order=2)`",
    ("derivative", "numpy_as_started"): "`numpy.gradient(edge_order=2)`, allocator as Python starts",
    ("first_difference", "eigen"): "plain Eigen loop",
    ("path_coordinate", "eigen"): "Eigen `norm()` per row",
}
LIMITS = {
    ("cubic", "writing"): "writing three results",
    ("shape", "evaluations"): "its spline and its three evaluations",
    ("blend_scalar", "sum"): "`a + b`",
    ("blend_scalar", "memcpy"): "`memcpy`",
    ("blend_rows", "sum"): "`a + b`",
    ("derivative", "memcpy"): "`memcpy`",
    ("derivative", "divisions"): "its three divisions per sample alone",
    ("first_difference", "memcpy"): "`memcpy`",
}

# For 7 joints in the warm regime, by number of samples: at least so many times faster than the peer, and at most so
# many times the cost of the limit.
GOALS = {
    ("cubic", "dense"): {10: 5, 32: 10, 100: 30},
    ("cubic", "gsl"): {100: 12, 1_000: 13, 5_000: 12, 20_000: 10, 100_000: 5},
    ("shape", "scipy"): {100: 15, 1_000: 15, 5_000: 15, 20_000: 15, 100_000: 15},
    ("linear", "eigen"): {10: 1.3, 32: 2, 100: 4, 1_000: 7, 5_000: 6.5, 20_000: 5, 100_000: 4},
    ("derivative", "eigen"): {100: 3, 1_000: 4, 5_000: 4, 20_000: 3, 100_000: 1.8},
    ("path_coordinate", "eigen"): {100: 1.8, 1_000: 1.9, 5_000: 1.9, 20_000: 1.9, 100_000: 1.8},
}
LIMIT_GOALS = {
    ("cubic", "writing"): {100: 4.5, 1_000: 4, 5_000: 2.5, 20_000: 1.4, 100_000: 1.5},
    ("shape", "evaluations"): {100_000: 2},
}


def number(ratio):
    return f"{ratio:.2f}" if ratio < 10 else f"{ratio:.1f}" if ratio < 100 else f"{ratio:,.0f}"


def duration(nanoseconds):
    for unit in ("ns", "us", "ms"):
        if nanoseconds < 1000:
            return f"{nanoseconds:.3g} {unit}"
        nanoseconds /= 1000
    return f"{nanoseconds:.3g} s"


def medians(entries):
    """{(job, contender, samples, joints): median processor time in ns}"""
    rounds = collections.defaultdict(list)
    for entry in entries:
        if entry["run_type"] == "iteration":
            job, contender, samples, joints = entry["run_name"].split("/")
            rounds[job, contender, int(samples), int(joints)].append(entry["cpu_time"])
    return {name: statistics.median(times) for name, times in rounds.items()}


def table(head, rows):
    """A Markdown table; a job that is repeated is named once."""
    lines = ["| " + " | ".join(head) + " |", "|" + "".join("---:|" if name[0].isdigit() else "---|" for name in head)]
    job = None
    for row in rows:
        lines.append("| " + " | ".join(["" if row[0] == job else row[0], *row[1:]]) + " |")
        job = row[0]
    return lines


class Ratios:
    """The tables of one regime and number of joints; goals apply where they are given, and misses are collected."""

    def __init__(self, times, joints, with_goals):
        self.times, self.joints, self.with_goals, self.missed = times, joints, with_goals, []
        measured = {samples for job, _, samples, j in times if j == joints and job in JOBS}
        self.samples = sorted(measured)

    def cell(self, job, peer, samples, goals, limit):
        ours, theirs = (self.times.get((job, name, samples, self.joints)) for name in ("library", peer))
        if ours is None or theirs is None:
            return ""
        ratio = ours / theirs if limit else theirs / ours
        text = number(ratio)
        goal = goals.get(samples) if self.with_goals else None
        if goal is None:
            return text
        if ratio > goal if limit else ratio < goal:
            where = (LIMITS if limit else PEERS)[job, peer]
            self.missed.append(f"{JOBS[job]}, {where}, {samples:,} samples: {text} for a goal of {goal:g}")
            text = f"**{text}**"
        return f"{text} ({goal:,g})"

    def rows(self, names, all_goals, limit):
        for (job, peer), label in names.items():
            goals = all_goals.get((job, peer), {})
            cells = [self.cell(job, peer, samples, goals, limit) for samples in self.samples]
            if any(cells):
                yield [JOBS[job], label, *cells]

    def markdown(self):
        columns = [f"{samples:,}" for samples in self.samples]
        lines = table(["job", "times faster than", *columns], self.rows(PEERS, GOALS, False))
        return [*lines, "", *table(["job", "cost relative to", *columns], self.rows(LIMITS, LIMIT_GOALS, True))]

    def own_times(self):
        rows = []
        for job, label in JOBS.items():
            times = [self.times.get((job, "library", samples, self.joints)) for samples in self.samples]
            rows.append([label, *("" if time is None else duration(time) for time in times)])
        return table(["job", *(f"{samples:,}" for samples in self.samples)], rows)


def long_recording(entries):
    runs = [e for e in entries if e["run_name"].startswith("cubic_long/") and e["run_type"] == "iteration"]
    if not runs:
        return []
    seconds = statistics.median(run["cpu_time"] for run in runs) / 1e9
    memory = max(run["peak_memory_mb"] for run in runs)
    return [
        "",
        f"Cubic resampling of 1,000,000 samples of 7 joints onto as many grid points: {seconds:.2f} s, and "
        f"{memory:,.0f} MB at the peak of the whole process.",
    ]


def threads_table(speed_ups):
    """Calls per second on two threads beside one, by state of the allocator."""
    samples = list(next(iter(speed_ups.values())))
    rows = [[regime, *(number(of_samples[n]) for n in samples)] for regime, of_samples in speed_ups.items()]
    return table(["calls per second on two threads beside one", *(f"{int(n):,}" for n in samples)], rows)


def misses(missed):
    return ["", "Not reached in this run:", "", *(f"- {miss}" for miss in missed)] if missed else []


def markdown(run, with_goals):
    machine = run["machine"]
    warm = medians(run["entries"]["warm"])
    cold = medians(run["entries"]["cold"])
    ratios = Ratios(warm, 7, with_goals)
    ratio_tables = ratios.markdown()
    lines = [
        f"`{run['command']}` on {machine['date']}: {machine['cpu']}, {machine['cores']} cores (one used), "
        f"{machine['compiler']}, Release build. Columns are numbers of samples.",
        "",
        "### 7 joints, warm",
        "",
        *(["In parentheses the goal; bold where it is not reached.", ""] if with_goals else []),
        *ratio_tables,
        *misses(ratios.missed),
        *long_recording(run["entries"]["warm"]),
        *(
            ["", "Independent cubic resamplings, 7 joints:", "", *threads_table(run["threads"])]
            if "threads" in run
            else []
        ),
        "",
        "The library's own time per call:",
        "",
        *ratios.own_times(),
    ]
    for regime, times, joints in (("cold", cold, 7), ("warm", warm, 1), ("warm", warm, 32)):
        if any(j == joints for _, _, _, j in times):
            heading = f"### {joints} joint{'s' if joints > 1 else ''}, {regime}"
            lines += ["", heading, "", *Ratios(times, joints, False).markdown()]
    return "\n".join(lines) + "\n"


def write_between_markers(path, text):
    begin, end = "<!-- benchmark: begin -->\n", "<!-- benchmark: end -->\n"
    before, rest = path.read_text().split(begin)
    _, after = rest.split(end)
    path.write_text(f"{before}{begin}\n{text}\n{end}{after}")
