"""Programs of their own."""
import subprocess
import sys


def begin(code, *options):
    return subprocess.Popen([sys.executable, *options, "-c", code], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)


def end(process, timeout=100):
    with process:
        try:
            stdout, stderr = process.communicate(timeout=timeout)
        finally:
            process.kill()  # one that hangs; others have ended
    return subprocess.CompletedProcess(process.args, process.returncode, stdout, stderr)


def run(code, *options, timeout=100):
    return end(begin(code, *options), timeout)
