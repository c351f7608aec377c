"""Processor time of a frame of 640 x 480 in Python's loop above that in C++'s, in turn, and what was lost.

Others' work on the machine adds to the figures and takes nothing from them, so the least of each counts.

Usage: PYTHONPATH=build/release/python python3 bench/python_loop.py build/release/bin/bench_camera_loop [frames] [rate]
"""
import json
import math
import os
import subprocess
import sys
import tempfile
import time

ROUNDS = 5


def loop(frames):
    import tavix
    with tavix.open() as camera:
        camera.TestPattern = "Checkerboard"
        total = missed = 0
        stream = camera.grab(frames, buffers=256)
        for image in stream:
            if image.number == 0:
                thread, process, begin = time.thread_time(), time.process_time(), time.monotonic()
            array = image.array
            total += int(array[0, 0]) + array.shape[1]
            missed += image.missed_before
        rest = frames - 1
        print(json.dumps({"thread_us": (time.thread_time() - thread) * 1e6 / rest,
                          "process_us": (time.process_time() - process) * 1e6 / rest,
                          "rate": rest / (time.monotonic() - begin), "lost": missed + stream.counts.failed}))


def measured(command, settings):
    done = subprocess.run(command, env=dict(os.environ, TAVIX_VIRTUAL_CAMERAS=settings), capture_output=True,
                          text=True, check=True)
    return json.loads(done.stdout)


def compare(program, frames, rate):
    camera = {"sensorWidth": 640, "sensorHeight": 480, "frameRate": rate, "bufferedFrames": 1000}
    with tempfile.NamedTemporaryFile("w", suffix=".json") as settings:
        json.dump({"cameras": [camera]}, settings)
        settings.flush()
        least = {"C++": math.inf, "Python": math.inf}
        for turn in range(ROUNDS):
            cpp = measured([program, str(frames)], settings.name)
            python = measured([sys.executable, __file__, "--loop", str(frames)], settings.name)
            for name, one in (("C++", cpp), ("Python", python)):
                least[name] = min(least[name], one["thread_us"])
                print(f"{turn}: {name:6} loop {one['thread_us']:6.1f} us, process {one['process_us']:6.1f} us a frame, "
                      f"{one['rate']:6.1f} frames/s, lost {one['lost']}")
        print(f"Python's loop above C++'s: {least['Python'] - least['C++']:.1f} us of processor time a frame")


if __name__ == "__main__":
    if sys.argv[1] == "--loop":
        loop(int(sys.argv[2]))
    else:
        compare(sys.argv[1], *[int(text) for text in (sys.argv[2:] + ["5000", "1000"][len(sys.argv) - 2:])])
