#!/usr/bin/env python3
"""Turns the bench's raw figures into bench/RESULTS.md (markdown on standard output)."""
import collections
import datetime
import json
import os
import platform
import statistics
import sys

raw, journal, waits, outdir, walks, size, imports, load, commit, runs = sys.argv[1:11]

tool = collections.defaultdict(lambda: {"wall": [], "cpu": [], "codes": []})
floor = collections.defaultdict(lambda: {"wall": [], "cpu": [], "codes": []})
order = []
pids = {}
walls = collections.defaultdict(dict)  # (label, iteration) -> {"tool": ms, "floor": ms}


def fields_iteration(line):
    return line.split("\t")[1]


for line in open(raw):
    fields = line.split()
    if len(fields) < 6:
        continue
    label = line.split("\t")[0]
    run = line.split("\t")[2].split()
    if len(run) != 6:
        continue
    who, wall, cpu, code, _, pid = run
    pids[(label, fields_iteration(line), pid)] = who
    if label not in order:
        order.append(label)
    entry = (tool if who == "tool" else floor)[label]
    if wall != "-":
        entry["wall"].append(float(wall))
        walls[(label, fields_iteration(line))][who] = float(wall)
        entry["cpu"].append(float(cpu))
    entry["codes"].append(code)


# Sessions per run, from the agent's journal: one instance per session.
sessions = collections.defaultdict(lambda: collections.Counter())
for line in open(journal):
    label, iteration, text = line.rstrip("\n").split("\t", 2)
    entry = json.loads(text)
    if entry.get("call") == "OXSDK_GetInstance":
        who = pids.get((label, iteration, str(entry["pid"])), "?")
        sessions[label][(iteration, who)] += 1


def session_counts(label):
    seen = sessions[label]
    tool_counts = {seen[key] for key in seen if key[1] == "tool"} or {0}
    floor_counts = {seen[key] for key in seen if key[1] == "floor"} or {0}
    show = lambda counts: "/".join(str(count) for count in sorted(counts))
    return f"{show(tool_counts)} / {show(floor_counts)}"


def median(values):
    return statistics.median(values) if values else float("nan")


def codes(values):
    return "/".join(sorted(set(values)))


cpu_name = "unknown processor"
for line in open("/proc/cpuinfo"):
    if line.startswith("model name"):
        cpu_name = line.split(":", 1)[1].strip()
        break

print("# Bench results\n")
print(f"Machine: {platform.node()}, {cpu_name}; {load}. Date: "
      f"{datetime.datetime.utcnow():%Y-%m-%d %H:%M} UTC. Commit: {commit}. "
      f"Runs per command: {runs}, tool and floor alternating; medians.\n")
print("Rerun with `make bench` (it rewrites this file). Wall and CPU are measured inside Wine "
      "with GetProcessTimes, from process creation to exit. The floor runs only the command's "
      "unavoidable steps: per SDK session the signature check, load, instance and Run; the "
      "signature check and the child for the installers; check, load and call for the links. "
      "Ratio: the median of the runs' tool-to-floor ratios (each pair ran back to back). "
      "Sessions: SDK instances each side created, from the agent's journal.\n")
print("## Commands (goal: ratio <= 1.10)\n")
print("| Command | Tool wall ms | Floor wall ms | Ratio | Tool CPU ms | Floor CPU ms | Sessions tool / floor | Exit codes |")
print("|---|---:|---:|---:|---:|---:|---|---|")


def paired_ratio(label):
    # Tool and floor of one run ran back to back: their ratio sees the same load.
    ratios = [pair["tool"] / pair["floor"] for key, pair in walls.items()
              if key[0] == label and "tool" in pair and "floor" in pair]
    return median(ratios)


floor_wall = {}
tool_cpu = {}
for label in order:
    t, f = tool[label], floor[label]
    tw, fw = median(t["wall"]), median(f["wall"])
    floor_wall[label] = fw
    tool_cpu[label] = median(t["cpu"])
    print(f"| `{label}` | {tw:.0f} | {fw:.0f} | {paired_ratio(label):.2f} | {median(t['cpu']):.0f} | "
          f"{median(f['cpu']):.0f} | {session_counts(label)} | {codes(t['codes'])} |")

print("\n## Waits (goals: < 20 ms CPU per 10 s of waiting; time-outs within +100 ms)\n")
print("| Wait | Bound | Wall ms | CPU ms (whole run) | CPU per 10 s of waiting, ms | Fired after the bound by, ms |")
print("|---|---:|---:|---:|---:|---:|")
descriptions = {
    "reply-wait": ("10 s reply wait (`-getproductversion`, no reply)", 10000, "request",
                   "-getproductversion"),
    "scan-floor": ("a scan's 5 s floor (`-startquickscan 1`, no reply, no event)", 5000, "request",
                   "-startfullscan"),
    "event-wait": ("6 h product event wait (`-removecompetitors`, the report never comes; "
                   "ended after 30 s)", None, None, "-removecompetitors"),
    "release": ("release of the competitor wait after an SDK failure (`-competitorsassessment`, "
                "the agent answers error 5; bound 20 s)", 0, "reply", "-competitorsassessment"),
}


def journal_time(text):
    when = datetime.datetime.strptime(text, "%Y-%m-%dT%H:%M:%S.%fZ")
    return (when - datetime.datetime(1970, 1, 1)).total_seconds() * 1000


for line in open(waits):
    fields = line.split()
    if len(fields) < 8 or fields[0] not in descriptions:
        continue
    name, wall, cpu, end, pid = fields[0], float(fields[1]), float(fields[2]), float(fields[4]), fields[5]
    text, bound, since, like = descriptions[name]
    late = "-"
    if since is not None:
        # From the agent's request (or its failing reply) to the tool's exit: the time-out and the
        # tear-down after it.
        marks = [journal_time(entry["time"]) for entry in map(json.loads, open(os.path.join(outdir, f"journal-{name}.jsonl")))
                 if entry.get("kind") == since and str(entry.get("pid")) == pid]
        if marks:
            late = f"{end - marks[-1] - bound:+.0f}"
    bound_text = "-" if bound is None else f"{bound / 1000:g} s"
    # Sampled from Linux inside the wait (start-up and tear-down left out).
    sampled_ms, sampled_s = fields[6], fields[7]
    per10_text = "-" if sampled_ms == "-" else f"{float(sampled_ms) * 10 / float(sampled_s):.1f}"
    print(f"| {text} | {bound_text} | {wall:.0f} | {cpu:.0f} | {per10_text} | {late} |")
print("\nCPU of the whole run: GetProcessTimes (Wine counts in 10 ms steps). CPU per 10 s of "
      "waiting: the tool's Linux process (/proc, all threads) read twice inside the wait, 7 s "
      "apart for the reply wait, 24 s for the event wait. Fired after the bound: from the "
      "agent's journal entry of the request (of the failing reply, for the release) to the "
      "tool's exit, minus the bound.\n")

figures = dict(line.split() for line in open(walks) if line.strip())
print("## Status walks, native (goal: 10 MB in < 50 ms, peak memory < 4x the output)\n")
print("| Reply bytes | Parse ms (CPU) | Walks ms (CPU) | Total ms (CPU) | Peak memory, reply included | Ratio to the reply |")
print("|---:|---:|---:|---:|---:|---:|")
print(f"| {figures['reply_bytes']} | {figures['parse_ms']} ({figures['parse_cpu_ms']}) | "
      f"{figures['walks_ms']} ({figures['walks_cpu_ms']}) | "
      f"{figures['total_ms']} ({figures['total_cpu_ms']}) | {int(figures['peak_kb']) // 1024} MB | "
      f"{figures['peak_ratio']}x |")
print("\nParse: the session's reading of the reply (`ParseSdkReply`) into the output document; "
      "walks: all eight status and update-health walks over it. Wall time, with the thread's CPU "
      "time in brackets (on a busy machine the wall clock counts other programs' turns too); "
      "medians of 5 rounds. Peak memory from getrusage, the reply text counted.\n")

print("## Executable (goal: one static file, system DLLs only, < 2 MB)\n")
print(f"`tarn-rmm.exe`: {int(size):,} bytes ({int(size) / 1048576:.2f} MB). Imports: {imports}.")
