"""Programs of their own."""
import subprocess
import sys


def begin(code):
    return subprocess.Popen([sys.executable, "-c", code], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)


def end(process, timeout=100):
    with process:
        try:
            stdout, stderr = process.communicate(timeout=timeout)
        finally:
            process.kill()  # one that hangs; others have ended
    return subprocess.CompletedProcess(process.args, process.returncode, stdout, stderr)


def run(code, timeout=100):
    return end(begin(code), timeout)
