"""The end of a program, which threads that wait for cameras do not put off."""
import pytest

from child import run

BEGIN = """
import asyncio, concurrent.futures, sys, tavix, threading
tavix.virtual([{"serial": "7", "registers": {"endlessCommands": [0x108004]}}, {"serial": "8"}])  # TestEventGenerate
camera = tavix.open("7")
begun = threading.Event()

def forever():
    for image in camera.grab():
        begun.set()
    print("no end of the images")

def silently():
    camera.TriggerSource = "Software"
    camera.TriggerMode = "On"
    begun.set()
    for image in camera.grab(timeout=None):
        pass

def one_by_one():
    while True:
        camera.grab_one()
        begun.set()

def all_refusals_away():
    while True:
        try:
            camera.grab_one()
        except Exception as error:
            print(error, file=sys.stderr)
        begun.set()

def in_a_group():
    with tavix.group("8") as group:
        for images in group.grab():
            begun.set()

def in_an_event_loop():
    async def take():
        async for image in camera.stream():
            begun.set()
        print("no end of the images")
    asyncio.run(take())

def silently_in_an_event_loop():
    camera.TriggerSource = "Software"
    camera.TriggerMode = "On"
    async def take():
        begun.set()
        async for image in camera.stream(timeout=None):
            pass
    asyncio.run(take())

def for_a_command():
    begun.set()
    camera.TestEventGenerate(timeout=1000)

def for_readiness():
    camera.TriggerSource = "Software"
    camera.TriggerMode = "On"
    begun.set()
    camera.trigger(timeout=1000)  # nothing streams

def keeping_images():
    kept = []
    for image in camera.grab(buffers=2, keep_budget=0, timeout=None):
        kept.append(image.array)
        begun.set()

def wait(work):
    try:
        work()
    finally:
        print("cleaned up", camera["Width"] > 0)  # the camera is open still

"""

WORKS = ["forever", "silently", "one_by_one", "all_refusals_away", "in_a_group", "in_an_event_loop",
         "silently_in_an_event_loop", "for_a_command", "for_readiness", "keeping_images"]


def go(code):
    return run(BEGIN + code, timeout=30)


@pytest.mark.parametrize("work", WORKS)
def test_a_thread_that_waits_is_told_that_the_program_ends(work):
    done = go(f"threading.Thread(target=wait, args=[{work}]).start()\nbegun.wait()\n")
    assert done.returncode == 0 and done.stdout == "cleaned up True\n", done.stderr
    assert "the program is ending" in done.stderr and "join() this thread" in done.stderr


@pytest.mark.parametrize("ending, status", [
    ("raise RuntimeError('of the program')", 1), ("sys.exit(3)", 3),
    ("thread = threading.Thread(target=sys.exit); thread.start(); thread.join()", 0)])
def test_it_ends_as_the_main_thread_does(ending, status):
    done = go(f"threading.Thread(target=wait, args=[forever]).start()\nbegun.wait()\n{ending}\n")
    assert done.returncode == status and done.stdout == "cleaned up True\n", done.stderr
    assert ("of the program" in done.stderr) == (status == 1)


def test_a_thread_that_is_joined_goes_on():
    done = go("def take():\n    print(len(list(camera.grab(20))))\n"
              "thread = threading.Thread(target=take)\nthread.start()\nthread.join()\n")
    assert done.stdout == "20\n" and done.stderr == ""


def test_a_loop_over_a_given_number_of_images_goes_on_to_its_end():
    done = go("def take():\n    with tavix.open('8') as other:\n        print(len(list(other.grab(40))))\n"
              "threading.Thread(target=take).start()\n")
    assert (done.returncode, done.stdout, done.stderr) == (0, "40\n", "")


def test_a_loop_over_a_given_number_of_sets_goes_on_to_its_end():
    done = go("def take():\n    with tavix.group('8') as group:\n        print(len(list(group.grab(20))))\n"
              "threading.Thread(target=take).start()\n")
    assert (done.returncode, done.stdout, done.stderr) == (0, "20\n", "")


def test_a_loop_over_a_given_number_of_images_ends_where_none_comes():
    done = go("camera.TriggerSource = 'Software'\ncamera.TriggerMode = 'On'\n"
              "def take():\n    begun.set()\n    list(camera.grab(3, timeout=None))\n"
              "threading.Thread(target=wait, args=[take]).start()\nbegun.wait()\n")
    assert done.returncode == 0 and done.stdout == "cleaned up True\n", done.stderr
    assert "the program is ending" in done.stderr


def test_the_threads_of_an_executor_end_too():
    done = go("pool = concurrent.futures.ThreadPoolExecutor()\npool.submit(wait, forever)\nbegun.wait()\n")
    assert done.returncode == 0 and done.stdout == "cleaned up True\n", done.stderr


def test_a_python_that_calls_nobody_before_threads_are_joined_is_watched():
    done = run("import concurrent.futures.thread, threading\ndel threading._register_atexit\n" + BEGIN +
               "threading.Thread(target=wait, args=[forever]).start()\nbegun.wait()\n", timeout=30)
    assert done.returncode == 0 and done.stdout == "cleaned up True\n", done.stderr


def test_daemons_end_without_a_word():
    done = go("threading.Thread(target=forever, daemon=True).start()\nbegun.wait()\n")
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")


@pytest.mark.parametrize("work", ["forever", "in_an_event_loop", "in_a_group"])
def test_a_callback_that_waits_ends_without_a_word(work):
    done = go(f"watch = tavix.watch(lambda info, arrived: {work}())\nbegun.wait()\n")
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")


@pytest.mark.parametrize("begin", [
    "kept = tavix.watch(block)", "kept = camera.grab(callback=block)",
    "camera.on_event('ExposureEnd', block); kept = camera.grab()"])
def test_a_callback_that_never_comes_back_does_not_put_off_the_end(begin):
    done = go("def block(*_):\n    begun.set()\n    threading.Event().wait()\n" + begin + "\nbegun.wait()\nprint('end')\n")
    assert (done.returncode, done.stdout, done.stderr) == (0, "end\n", "")


def test_a_callback_comes_to_its_end_when_the_program_ends():
    done = go("import time\ndef slowly(image):\n    begun.set()\n    time.sleep(0.5)\n    print(image.number)\n"
              "kept = camera.grab(callback=slowly)\nbegun.wait()\n")
    assert (done.returncode, done.stdout) == (0, "0\n"), done.stderr


def test_what_the_program_does_at_its_end_finds_cameras_at_work():
    done = go("import atexit\natexit.register(lambda: print(len(list(camera.grab(3)))))\n"
              "threading.Thread(target=wait, args=[forever]).start()\nbegun.wait()\n")
    assert done.stdout == "cleaned up True\n3\n", done.stderr


@pytest.mark.parametrize("warnings", ["-Wdefault", "-Werror"])
def test_cameras_that_are_open_at_the_end_are_warned_of(warnings):
    done = run("import tavix\ntavix.virtual([{'serial': '7'}, {'serial': '8'}])\n"
               "kept = [tavix.open('7'), tavix.open('8')]\nkept[1].close()\n"
               "def images():\n    with tavix.open('8') as camera:\n        yield from camera.grab()\n"
               "taken = images()\nnext(taken)\n", warnings)
    assert done.returncode == 0 and done.stderr.count("not closed before the end of the program") >= 2
    assert done.stderr.count("ResourceWarning: <tavix.Camera") == 2, done.stderr


# NumPy is there before: a thread that the interpreter ends in the middle of an import is unwound in ways that the address
# sanitizer does not know.
BUSY = """
import numpy

def list_cameras():
    while True:
        tavix.cameras()

def open_and_close():
    while True:
        tavix.open("8").close()

def ask():
    while True:
        camera["Width"], camera.feature("ExposureTime").max, camera.features()

def grab_some():
    while True:
        for image in camera.grab(3):
            image.convert("RGB8")

def watch():
    while True:
        tavix.watch(lambda info, arrived: None).end()

for work in list_cameras, open_and_close, ask, grab_some, watch:
    threading.Thread(target=work, daemon=True).start()
threading.Event().wait(0.2)
"""


def test_daemons_may_be_at_work_with_everything():
    for done in [go(BUSY) for _ in range(4)]:
        assert (done.returncode, done.stderr) == (0, "")
