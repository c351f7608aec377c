"""What a person does on the page, in words of a person."""

import base64
import json
import os
import subprocess
import tempfile

CAMERA = json.dumps({"cameras": [{"sensorWidth": 320, "sensorHeight": 240, "frameRate": 60}]})
TWO = json.dumps({"cameras": [{"sensorWidth": 320, "sensorHeight": 240, "frameRate": 60, "guid": f"12090000000{i}",
                               "userName": name} for i, name in ((1, "left"), (2, "right"))]})


def open_camera(page, number=0):
    """Chooses a camera of the list and waits for its image."""
    page.wait(f"document.querySelectorAll('.camera').length > {number}", "the camera is in the list")
    page.run(f"document.querySelectorAll('.camera')[{number}].click()")
    wait_for_images(page, number)
    page.wait("document.querySelectorAll('.feature').length > 10", "features are there")


def wait_for_images(page, number=0, more=3):
    canvas = f"document.querySelectorAll('canvas.image')[{number}]"
    page.wait(canvas + " !== undefined", "a panel")
    before = int(page.run(f"{canvas}.dataset.number ?? 0"))
    page.wait(f"Number({canvas}.dataset.number) > {before + more - 1}", "images come")


def is_in(state):
    return f"document.querySelector('.panel').dataset.state === '{state}'"


def middle_of_image(page):
    """Of the window, in pixels."""
    return page.run("(() => { const {x, y, width, height} = document.querySelector('canvas.image')"
                    ".getBoundingClientRect(); return [x + width / 2, y + height / 2]; })()")


def stop(page):
    page.click(".panel .tools button", "Stop")
    page.wait(is_in("open"), "it has stopped")


def take_single(page):
    """The first image of an acquisition, which is the same at any time, without loss."""
    page.run("document.querySelector('canvas.image').dataset.block = 'none'")
    page.click(".panel .tools button", "Single")
    page.wait("(({block, kind}) => block === '0' && kind !== 'jpeg')(document.querySelector('canvas.image').dataset)",
              "a single image")


def tab(page, name):
    page.click("[role=tab]", name)


def control(name, kinds="input[type=text], input[type=checkbox], select, button"):
    return f"document.querySelector('[data-feature={name}] .control :is({kinds})')"


def show_all(page):
    """Opens all categories, for all levels."""
    tab(page, "Features")
    page.run("document.querySelectorAll('.tree details').forEach((one) => { one.open = true; })")
    page.choose(".features select", "3")


def await_unlocked(page, name):
    page.wait(f"{control(name)} && !{control(name)}.disabled", f"{name} can be set")


def set_feature(page, name, value):
    """Until the camera has taken it, or refused it."""
    await_unlocked(page, name)
    page.choose(f"[data-feature={name}] .control :is(input[type=text], select)", value)
    page.wait(f"document.querySelector('[data-feature={name}]').ariaBusy !== 'true'", f"{name} is set")


def press_feature(page, name):
    """A switch or a command."""
    await_unlocked(page, name)
    page.run(f"{control(name)}.click()")


def wait_for_value(page, name, value):
    page.wait(f"{control(name)}.value === {json.dumps(value)}", f"{name} is {value}")


def canvas_pixels(page):
    """Width, height and the bytes, four a pixel, of what the canvas shows."""
    width, height, text = page.run("""(() => {
        const canvas = document.querySelector('canvas.image');
        const {data} = canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height);
        let text = '';
        for (let i = 0; i < data.length; i += 30000) text += String.fromCharCode(...data.subarray(i, i + 30000));
        return [canvas.width, canvas.height, btoa(text)]; })()""")
    return width, height, base64.b64decode(text)


def first_image(cameras, *settings):
    """The bytes of a camera's first image, brought by another program on another way."""
    with tempfile.TemporaryDirectory() as folder:
        command = [os.environ["TAVIX_TOOL"], "grab", "--frames", "1", "--format", "raw", "--output", folder, "--quiet"]
        for setting in settings:
            command += ["--set", setting]
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL, env={**os.environ, "TAVIX_VIRTUAL_CAMERAS": cameras})
        for name in os.listdir(folder):
            if name.endswith(".raw"):
                with open(os.path.join(folder, name), "rb") as file:
                    return file.read()
    raise AssertionError("no image was saved")
