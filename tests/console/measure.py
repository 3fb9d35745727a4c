#!/usr/bin/env python3
"""What docs/performance.md says about the console, measured anew in a headless browser.

    QELM_TOOL=build/native/bin/qelm tests/console/measure.py [--minutes 10]
"""

import argparse
import os
import pathlib
import statistics
import time

from conftest import Server
from page_test import open_browser

SIZE = 1024
CAMERA = (f"FG_CAMERA_WIDTH={SIZE}", f"FG_CAMERA_HEIGHT={SIZE}", f"FG_WIDTH={SIZE}", f"FG_HEIGHT={SIZE}",
          "FG_CAMERA_LINK_CAMTYPE=FG_CL_MEDIUM_12_BIT", "FG_FORMAT=FG_GRAY16", "FG_BITALIGNMENT=FG_RIGHT_ALIGNED",
          "FG_TRIGGER_FRAMESPERSECOND=30", "--camera", "match,sensor=typical")

# Sets a parameter and waits until its field in the tree shows it: milliseconds.
SET_AND_SEE = """
const [offset, token, done] = arguments;
const field = document.getElementById("parameter-FG_PROCESSING_OFFSET");
const start = performance.now();
const look = () => Number(field.value) === offset ? done(performance.now() - start) : setTimeout(look, 0);
fetch("/api/parameters", { method: "POST", headers: { Authorization: `Bearer ${token}`,
  "Content-Type": "application/json" },
  body: JSON.stringify({ set: [{ name: "FG_PROCESSING_OFFSET", value: offset }] }) });
look();
"""


def seconds_of_processor(process):
    fields = pathlib.Path(f"/proc/{process}/stat").read_text().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def resident_memory(process):
    for line in pathlib.Path(f"/proc/{process}/status").read_text().splitlines():
        if line.startswith("VmRSS:"):
            return int(line.split()[1]) / 1024
    raise RuntimeError("no VmRSS")


def load_while(server, seconds):
    """@returns the cores that the server takes and the pictures a second that come"""
    processor, frames, start = seconds_of_processor(server.process.pid), server.get("/api/statistics")["frames"], \
        time.monotonic()
    time.sleep(seconds)
    passed = time.monotonic() - start
    return ((seconds_of_processor(server.process.pid) - processor) / passed,
            (server.get("/api/statistics")["frames"] - frames) / passed)


def percentiles(values):
    cuts = statistics.quantiles(values, n=20)
    return f"p50 {statistics.median(values):.1f} ms, p95 {cuts[18]:.1f} ms, of {len(values)}"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--minutes", type=float, default=0, help="of streaming, to see that memory stays flat")
    arguments = parser.parse_args()
    server = Server(*CAMERA)
    try:
        with server.stream() as stream:
            stream.next("frame")
            time.sleep(2)
            alone, rate = load_while(server, 8)
            print(f"acquisition alone, nothing shown: {alone:.2f} cores, {rate:.1f} pictures/s")
        browser = open_browser()
        try:
            browser.get(server.url)
            time.sleep(5)
            browser.execute_script("window.qelmLatencies.length = 0")
            together, rate = load_while(server, 15)
            latencies = browser.execute_script("return [...window.qelmLatencies]")
            print(f"with a page: {together:.2f} cores, of them {together - alone:.2f} for the page; {rate:.1f} "
                  f"pictures/s, {len(latencies) / 15:.1f} drawn")
            print(f"picture ready to drawn: {percentiles(latencies)}")
            browser.set_script_timeout(10)
            print("set to tree: " + percentiles([browser.execute_async_script(SET_AND_SEE, step / 100, server.token)
                                                 for step in range(1, 41)]))
            page = pathlib.Path(__file__).parents[2] / "tools/qelm/serve/page"
            print(f"page: {sum(file.stat().st_size for file in page.iterdir()) / 1024:.0f} KiB")
            if arguments.minutes:
                time.sleep(20)
                before, end = resident_memory(server.process.pid), time.monotonic() + 60 * arguments.minutes
                while time.monotonic() < end:
                    time.sleep(min(30, max(0.1, end - time.monotonic())))
                    print(f"  memory {resident_memory(server.process.pid):.1f} MiB", flush=True)
                print(f"memory: {before:.1f} MiB, after {arguments.minutes:g} minutes "
                      f"{resident_memory(server.process.pid):.1f} MiB")
        finally:
            browser.quit()
    finally:
        server.stop()


if __name__ == "__main__":
    main()
