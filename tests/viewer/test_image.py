"""The image: what is drawn is what the camera sent."""

import json
import os

import pytest

from browser import memory, wait_until
from page import (CAMERA, canvas_pixels, first_image, is_in, middle_of_image, open_camera, set_feature, show_all, stop, tab,
                  take_single, wait_for_images)

WIDTH, HEIGHT = 320, 240


def where_the_image_begins(page):
    """Canvas coordinates of the image's first pixel when it is shown pixel by pixel."""
    return page.run(f"""(() => {{ const {{width, height}} = document.querySelector('canvas.image');
        return [Math.round(width / 2 - {WIDTH // 2}), Math.round(height / 2 - {HEIGHT // 2})]; }})()""")


def differences(page, expected):
    """Of all drawn pixels, pixel by pixel, to the grey ones that are expected."""
    left, top = where_the_image_begins(page)
    width, _, drawn = canvas_pixels(page)
    return [abs(drawn[4 * ((top + y) * width + left + x) + c] - expected[y * WIDTH + x])
            for y in range(0, HEIGHT, 3) for x in range(WIDTH) for c in (0, 2)]


def test_a_single_image_is_drawn_as_the_camera_sent_it(look):
    _, page = look(CAMERA)
    open_camera(page)
    stop(page)
    take_single(page)
    page.click(".tools button", "1:1")
    page.wait("document.querySelector('.about').textContent.includes('100 %')")
    expected = first_image(CAMERA)
    assert len(set(expected)) > 100, "a picture in which something is to be seen"
    assert max(differences(page, expected)) == 0


def test_a_moving_image_differs_by_its_compression_only(look):
    _, page = look(CAMERA)
    open_camera(page)
    stop(page)
    page.click(".tools button", "1:1")
    page.run("document.querySelector('canvas.image').dataset.block = 'none'")
    page.click(".tools button", "Trigger")
    page.wait("(({block, kind}) => block === '0' && kind === 'jpeg')(document.querySelector('canvas.image').dataset)",
              "the triggered image, as one that moves")
    far = differences(page, first_image(CAMERA))
    assert sum(far) / len(far) < 3
    assert sum(one > 40 for one in far) < len(far) / 50


def test_an_image_that_takes_long_is_not_shown_over_a_newer_one(look):
    _, page = look(CAMERA)
    open_camera(page)
    # The next compressed image is not there before somebody says so; those behind it are at once.
    page.run("""(() => { const create = window.createImageBitmap;
        window.createImageBitmap = async (...all) => {
          window.createImageBitmap = create;
          await new Promise((resolve) => { window.letGo = resolve; });
          const bitmap = await create(...all);
          setTimeout(() => { window.wasLate = true; });
          return bitmap;
        }; })()""")
    page.wait("window.letGo !== undefined", "an image that takes long")
    stop(page)
    take_single(page)
    page.run("window.letGo()")
    page.wait("window.wasLate", "it is there")
    assert page.run("document.querySelector('canvas.image').dataset.block") == "0", "the newer one is still shown"


@pytest.mark.parametrize("pixel_format, value_bytes", [("Mono8", 1), ("Mono12", 2), ("BayerRG8", 1)])
def test_zoomed_pixels_tell_their_true_values(look, pixel_format, value_bytes):
    _, page = look(CAMERA)
    open_camera(page)
    stop(page)
    show_all(page)
    set_feature(page, "PixelFormat", pixel_format)
    take_single(page)
    raw = first_image(CAMERA, f"PixelFormat={pixel_format}")
    for _ in range(6):
        page.click(".tools button", "+")
    page.wait("document.querySelector('canvas.image').dataset.kind === 'values'", "true values")
    box = page.run("(() => { const {x, y, width, height} = document.querySelector('canvas.image')"
                   ".getBoundingClientRect(); return [x, y, width, height]; })()")
    for across, down in ((0.3, 0.3), (0.5, 0.6), (0.8, 0.9)):
        page.call("Input.dispatchMouseEvent", type="mouseMoved", x=box[0] + across * box[2], y=box[1] + down * box[3])
        told = page.wait("document.querySelector('.pixel').textContent.match(/x (\\d+), y (\\d+) = (\\d+)$/)?.slice(1)")
        x, y, value = map(int, told)
        at = (y * WIDTH + x) * value_bytes
        assert value == int.from_bytes(raw[at:at + value_bytes], "little"), f"{pixel_format} at {x}, {y}"


def test_values_are_printed_in_large_pixels(look):
    _, page = look(CAMERA)
    open_camera(page)
    stop(page)
    take_single(page)
    # The most changes of grey along a line of the canvas: pixels alone change a few times, figures in them often.
    changes = """(() => { const canvas = document.querySelector('canvas.image');
        const {data} = canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height);
        let most = 0;
        for (let y = 0; y < canvas.height; ++y) {
            let count = 0;
            for (let x = 1; x < canvas.width; ++x) {
                const at = 4 * (y * canvas.width + x);
                if (data[at] !== data[at - 4]) ++count;
            }
            most = Math.max(most, count);
        }
        return most; })()"""
    for _ in range(5):
        page.click(".tools button", "+")
    page.wait("document.querySelector('canvas.image').dataset.kind === 'values'", "true values")
    page.wait(f"{changes} > 60", "figures are printed into the pixels")


def test_a_frame_drawn_by_mouse_sets_the_region(look):
    _, page = look(CAMERA)
    open_camera(page)
    page.click(".tools button", "1:1")
    page.choose(".tools select", "region")
    left, top = where_the_image_begins(page)
    box = page.run("(() => { const {x, y} = document.querySelector('canvas.image').getBoundingClientRect();"
                   "return [x, y]; })()")
    start = (box[0] + left + 101.5, box[1] + top + 61.5)
    page.drag(start, (start[0] + 99, start[1] + 79))
    page.wait("document.querySelector('.about').textContent.startsWith('100 × 80 ')", "the camera sends the region")
    show_all(page)
    values = page.wait("(() => { const of = (name) => document.querySelector(`[data-feature=${name}] input[type=text]`)"
                       "?.value; const all = ['Width', 'Height', 'OffsetX', 'OffsetY'].map(of);"
                       "return all.every(Boolean) && all.map(Number); })()")
    assert values[:2] == [100, 80]
    assert abs(values[2] - 101) <= 4 and abs(values[3] - 61) <= 2, "as near as the steps allow"
    page.wait(is_in("streaming"), "it goes on as it was")
    page.click(".tools button", "Whole sensor")
    page.wait("document.querySelector('.about').textContent.startsWith('320 × 240 ')", "the whole sensor")


def test_histogram_profile_and_marks_are_of_the_image(look):
    _, page = look(CAMERA)
    open_camera(page)
    stop(page)
    take_single(page)
    tab(page, "Values")
    expected = first_image(CAMERA)
    page.wait(f"document.querySelector('.measures').textContent.includes('Y {min(expected)} … {max(expected)}')")
    page.choose(".tools select", "line")
    page.click(".tools button", "1:1")
    box = middle_of_image(page)
    page.drag((box[0] - 50, box[1]), (box[0] + 50, box[1] + 20))
    page.wait("document.querySelector('[aria-label^=Profile]').getContext('2d')"
              ".getImageData(0, 0, 300, 100).data.some(Boolean)", "a profile is drawn")
    page.run("[...document.querySelectorAll('.tools label')].find((one) => one.textContent.includes('Saturation')).click()")
    page.wait("""(() => { const canvas = document.querySelector('canvas.image');
        const {data} = canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height);
        for (let i = 0; i < data.length; i += 4) if (data[i] === 255 && data[i + 1] === 0 && data[i + 2] === 0) return true;
        return false; })()""", "saturated pixels are red")


def test_window_shows_a_part_of_deep_values(look):
    _, page = look(CAMERA)
    open_camera(page)
    stop(page)
    show_all(page)
    set_feature(page, "PixelFormat", "Mono12")
    take_single(page)
    page.click(".tools button", "1:1")
    raw = first_image(CAMERA, "PixelFormat=Mono12")
    values = [int.from_bytes(raw[i:i + 2], "little") for i in range(0, len(raw), 2)]
    page.choose(".tools input[type=number]", "1000")
    page.run("(() => { const white = document.querySelectorAll('.tools input[type=number]')[1]; white.value = '3000';"
             "white.dispatchEvent(new Event('input')); })()")
    expected = [(min(max(value, 1000), 3000) - 1000) * 255 // 2000 for value in values]
    page.wait("document.querySelector('.about').textContent.includes('100 %')")
    wait_until(lambda: max(differences(page, expected)) <= 1, "the window")


def test_a_thousand_images_leave_nothing_behind(look, browser):
    fast = json.dumps({"cameras": [{"sensorWidth": 320, "sensorHeight": 240, "frameRate": 200}]})
    server, page = look(fast)
    page.resize(500, 500)  # of which images come faster
    open_camera(page)
    drawn = "Number(document.querySelector('.figures').dataset.drawn)"
    page.wait_for_count(drawn, 200, "it has warmed up")
    page.call("HeapProfiler.collectGarbage")
    heap = page.call("Runtime.getHeapUsage")["usedSize"]
    resident, browsers = memory(server.process.pid), browser.memory
    begin = page.run(drawn)
    page.wait_for_count(drawn, begin + 1000, "a thousand images")
    page.call("HeapProfiler.collectGarbage")
    assert page.call("Runtime.getHeapUsage")["usedSize"] - heap < 3_000_000
    # A thousand drawn images are 300 MB, and 8 as they came. Of processes that are there all the time.
    assert sum(bytes - browsers.get(process, bytes) for process, bytes in browser.memory.items()) < 8_000_000
    if not os.environ.get("TAVIX_SANITIZED"):
        assert memory(server.process.pid) - resident < 8_000_000
    wait_for_images(page)
