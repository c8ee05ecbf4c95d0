#!/usr/bin/env python3
"""Turns the benchmarks' JSON into docs/performance.md and docs/performance.json."""

from __future__ import annotations

import json
import platform
import sys
from pathlib import Path

KINDS = ("ours", "reference", "floor", "other")
HEAD = """# Performance

How long each stage takes on one thread, beside the plain reference of `tests/reference` and beside the floor: the time to
read and write once the bytes that the stage cannot avoid. Written by `scripts/bench`; every stage's result was compared
with the reference's before it was timed. Times are CPU time in microseconds, the mean of the runs.

| stage | the floor is |
|---|---|
| letterbox and float tensor | `cv::resize` alone (a copy where nothing is resized) and one write of the tensor |
| letterbox and byte tensor | `cv::resize` alone |
| fused decode and suppression | touching each objectness once |
| cut decode and suppression | reading the objectness planes once |
| segmentation decode | reading the score tensors once |
| segmentation post-processing | that, and one write of the masks under their boxes |
| object NMS, index sort and NMS | one copy of the candidates |
| draw_objects, draw_objects_masks | one copy of the picture and one reading of the masks |
| detect over a null engine | the floor of its tensor, and one write of the output buffers, which every frame hands over cleared |

Floors are read and written in caches that are warm from the round before, so that one below a microsecond shows the
processor's load instructions rather than memory. Candidates of the cut decoder lie around objects as trained networks have
them; a candidate alone costs 80 scattered class bytes and an object, which no reading of objectness pays for. Page faults
depend on the machine more than all else: under a hypervisor, and next to other work, the references and OpenCV's calls, which
allocate whole pictures, have taken three times as long as below, ours little longer.

A picture of 1920x1080 stands below its floor: three of its pixels in each direction fall on one of the network's, of which
bilinear interpolation takes the middle one, and the library takes that without calling `cv::resize`.

`other`: `cv::resize`, `cv::copyMakeBorder` and `cv::dnn::blobFromImage`, as applications write it.
Allocations are those of a frame in the steady state; large masks come as pages from the kernel and are not among them.
"""


def processor() -> str:
    for line in Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            return line.split(":", 1)[1].strip()
    return platform.machine()


def stages(results: dict) -> dict[tuple[str, str], dict[str, dict]]:
    """Measurements by stage and case, then by kind."""
    table: dict[tuple[str, str], dict[str, dict]] = {}
    for entry in results["benchmarks"]:
        stage, case, kind = entry["name"].split("/")
        if entry.get("error_occurred"):
            raise SystemExit(f"{entry['name']}: {entry['error_message']}")
        table.setdefault((stage, case), {})[kind] = entry
    return table


def ratio(a: float, b: float) -> str:
    return f"{a / b:.2f}" if a / b < 10 else f"{a / b:.0f}"


def microseconds(time: float) -> str:
    return f"{time:.2f}" if time < 10 else f"{time:.1f}" if time < 100 else f"{time:.0f}"


def row(case: str, kinds: dict[str, dict]) -> str:
    times = {kind: kinds[kind]["cpu_time"] for kind in KINDS if kind in kinds}
    ours = times["ours"]
    columns = [case, microseconds(ours), microseconds(times["floor"]), ratio(ours, times["floor"]),
               microseconds(times["reference"]), ratio(times["reference"], ours)]
    columns.append(f"{microseconds(times['other'])} ({ratio(times['other'], ours)})" if "other" in times else "")
    columns.append(f"{kinds['ours']['allocations']:.0f}, {kinds['ours']['allocated_bytes'] / 1024:.0f} KiB")
    return "| " + " | ".join(columns) + " |"


def markdown(table: dict, context: dict) -> str:
    lines = [HEAD, f"Measured on {processor()}, {platform.machine()}, {context['num_cpus']} cores, "
                   f"{context['date'][:10]}.", ""]
    for stage in dict.fromkeys(stage for stage, _ in table):
        lines += ["", f"## {stage}", "", "| | ours | floor | x floor | reference | x faster | other (x faster) "
                                         "| allocations |", "|---|---|---|---|---|---|---|---|"]
        lines += [row(case, kinds) for (of_stage, case), kinds in table.items() if of_stage == stage]
    return "\n".join(lines) + "\n"


def main() -> None:
    source, folder = Path(sys.argv[1]), Path(sys.argv[2])
    results = json.loads(source.read_text())
    table = stages(results)
    (folder / "performance.md").write_text(markdown(table, results["context"]))
    figures = [{"stage": stage, "case": case,
                **{kind: {"cpu_us": entry["cpu_time"], "allocations": entry["allocations"],
                          "allocated_bytes": entry["allocated_bytes"]} for kind, entry in kinds.items()}}
               for (stage, case), kinds in table.items()]
    (folder / "performance.json").write_text(json.dumps({"schema": 1, "stages": figures}, indent=1) + "\n")


if __name__ == "__main__":
    main()
