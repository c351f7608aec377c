"""Features: to the camera, from the camera, and between two browsers."""

from browser import wait_until
from page import (CAMERA, control, is_in, open_camera, set_feature, show_all, stop, tab, wait_for_images,
                  wait_for_value)


def choose_file(page, button, path):
    """Presses a button that asks for a file, and gives it one."""
    page.give_file(f"[...document.querySelectorAll('.features button')].find((one) => one.textContent === '{button}').click()",
                   path)


def test_a_slider_moves_the_exposure_and_the_page_says_what_else_changed(look):
    _, page = look(CAMERA)
    open_camera(page)
    show_all(page)
    slider = "document.querySelector('[data-feature=ExposureTime] input[type=range]')"
    assert page.run(f"{slider}.classList.contains('grows')"), "ten microseconds to ten seconds: in growing steps"
    page.run(f"{slider}.value = 500; {slider}.dispatchEvent(new Event('input', {{bubbles: true}}))")
    page.wait(f"Math.abs(Number({control('ExposureTime', 'input[type=text]')}.value) / 10000 - 1) < 0.01")
    page.run(f"{slider}.value = 400; {slider}.dispatchEvent(new Event('input', {{bubbles: true}}))")
    page.wait("document.querySelector('.others').textContent.includes('ExposureTicks')", "what else changed")


def test_values_that_the_camera_changes_by_itself_are_followed(look):
    _, page = look(CAMERA)
    open_camera(page)
    show_all(page)
    before = page.wait(f"{control('ExposureTime', 'input[type=text]')}.value")
    set_feature(page, "ExposureTime", "50")
    wait_for_value(page, "ExposureTime", "50")
    set_feature(page, "ExposureAuto", "Continuous")
    page.wait(f"Number({control('ExposureTime', 'input[type=text]')}.value) > 1000", f"it goes back towards {before}")


def test_what_is_locked_says_why(look):
    _, page = look(CAMERA)
    open_camera(page)
    show_all(page)
    page.wait("document.querySelector('[data-feature=Width] .why').textContent.length > 5", "a reason")
    assert page.run(f"{control('Width')}.disabled")
    stop(page)
    page.wait("document.querySelector('[data-feature=Width] .why').textContent === ''", "no reason any more")
    set_feature(page, "Width", "5000")
    page.wait("document.querySelector('#notes .problem').textContent.includes('320')", "the limits, in words")


def test_limits_are_told_where_there_are_any(look):
    _, page = look(CAMERA)
    open_camera(page)
    show_all(page)
    limits = "document.querySelector('[data-feature={}] .limits').textContent"
    page.wait(limits.format("Height") + " === '2 … 240, steps of 2'", "the limits of a whole number")
    page.wait(limits.format("ExposureTime") + ".startsWith('10 … 10000000')", "the limits of a float")
    assert page.run(limits.format("DeviceSFNCVersionMajor")) == "", "a number of any size has none"


def test_search_and_level_find_features(look):
    _, page = look(CAMERA)
    open_camera(page)
    shown = ("[...document.querySelectorAll('.feature')].filter((one) => one.offsetParent)"
             ".map((one) => one.dataset.feature)")
    page.choose(".features input[type=search]", "exposure time")
    page.wait(f"{shown}.includes('ExposureTime') && !{shown}.includes('Gain')")
    page.choose(".features input[type=search]", "no such thing")
    page.wait(f"{shown}.length === 0")


def test_settings_are_saved_compared_and_loaded(look, tmp_path):
    _, page = look(CAMERA)
    open_camera(page)
    stop(page)
    page.download_to(str(tmp_path))
    page.click(".features button", "Save settings")
    path = wait_until(lambda: [str(file) for file in tmp_path.glob("*.txt")], "the file of settings")[0]
    show_all(page)
    set_feature(page, "Gain", "7")
    wait_for_value(page, "Gain", "7")
    choose_file(page, "Compare …", path)
    page.wait("document.querySelector('dialog')?.textContent.includes('Gain')", "the difference")
    page.click("dialog .end button")
    choose_file(page, "Load …", path)
    wait_for_value(page, "Gain", "0")


def test_one_steers_and_another_looks_on_until_it_takes_over(look, browser):
    server, page = look(CAMERA)
    open_camera(page)
    other = browser.open(server.invite())
    other.wait("document.querySelector('canvas.image')?.dataset.number > 3", "it sees the image at once")
    other.wait("document.querySelector('#take')")
    show_all(page)
    show_all(other)
    other.wait(f"{control('Gain')}?.disabled", "it cannot set anything")
    unplug = "[...document.querySelectorAll('nav li button')].find((one) => one.textContent === 'Unplug')"
    other.wait(f"{unplug}?.disabled", "nor pull a plug")
    page.wait(f"{unplug}?.disabled === false")
    set_feature(page, "Gain", "3.5")
    wait_for_value(other, "Gain", "3.5")
    other.click("#take")
    page.wait("document.querySelector('#take')", "the first looks on now")
    page.wait(f"{unplug}?.disabled")
    other.wait(f"{unplug}?.disabled === false", "who steers may")
    set_feature(other, "Gain", "1")
    wait_for_value(page, "Gain", "1")
    page.wait(f"{control('Gain')}.disabled")
    other.close()
    page.wait("document.querySelector('#steering').textContent === 'You steer'", "who is left steers")


def point_and_look(page, tool):
    """Shows the image pixel by pixel and chooses a tool, by keys alone."""
    page.run("document.querySelector('canvas.image').focus()")
    page.key("1")
    page.wait("document.querySelector('.about').textContent.includes('100 %')", "pixel by pixel")
    page.key(tool)


def test_a_region_is_drawn_by_keyboard(look):
    _, page = look(CAMERA)
    open_camera(page)
    point_and_look(page, "r")
    page.key("Enter")
    page.key("ArrowRight", times=3)
    page.key("Escape")  # not so
    page.run("document.querySelector('canvas.image').blur()")  # the pointer stays where it was
    page.key("r")
    page.key("ArrowLeft", times=3)
    page.key("Enter")
    page.key("ArrowRight", times=31, shift=True)
    page.key("ArrowDown", times=23, shift=True)
    page.key("Enter")
    page.wait("document.querySelector('.about').textContent.startsWith('32 × 24 ')", "the camera sends the region")
    show_all(page)
    wait_for_value(page, "OffsetX", "160")
    wait_for_value(page, "OffsetY", "120")


def test_a_profile_and_the_crosshair_are_moved_by_keyboard(look):
    _, page = look(CAMERA)
    open_camera(page)
    stop(page)
    tab(page, "Values")
    point_and_look(page, "p")
    page.key("Enter")
    page.key("ArrowRight", times=2)
    page.key("Enter")
    page.wait("document.querySelector('[aria-label^=Profile]').getContext('2d')"
              ".getImageData(0, 0, 300, 100).data.some(Boolean)", "a profile is drawn")
    page.key("m")
    page.wait("document.querySelector('[aria-label^=Profile]').hidden", "it goes with its tool")
    page.key("x")
    before = page.wait("document.querySelector('.pixel').textContent.match(/x (\\d+), y (\\d+)/)?.slice(1).map(Number)")
    page.key("ArrowLeft", times=2, shift=True)
    page.key("ArrowDown", shift=True)
    page.wait(f"document.querySelector('.pixel').textContent.startsWith('x {before[0] - 2}, y {before[1] + 1}')")
    assert page.run("[...document.querySelectorAll('.tools label')].find((one) => one.textContent.includes('Crosshair'))"
                    ".control.checked"), "the switch says so"
    lines = page.run("""(() => { const canvas = document.querySelector('canvas.image');
        const {data} = canvas.getContext('2d').getImageData(0, 0, canvas.width, 1);
        const yellow = (i) => data[i] > 120 && data[i + 2] < 90 && data[i + 3] > 0;
        return Array.from({length: canvas.width}, (_, x) => yellow(4 * x)).filter(Boolean).length; })()""")
    assert 1 <= lines <= 3, "one upright line"


def test_an_image_that_was_on_its_way_does_not_bring_a_profile_back(look):
    _, page = look(CAMERA)
    open_camera(page)
    tab(page, "Values")
    point_and_look(page, "p")
    page.key("Enter")
    page.run("""(() => { window.held = []; window.create = window.createImageBitmap;
        window.createImageBitmap = (...all) => new Promise((resolve) => held.push(() => resolve(create(...all)))); })()""")
    page.wait("held.length === 2", "as many images as the server sends ahead")
    page.key("ArrowRight")
    page.key("Enter")
    page.run("new Promise((resolve) => requestAnimationFrame(() => requestAnimationFrame(() => resolve())))")  # it is asked for
    page.run("held.splice(0).forEach((letGo) => letGo())")
    page.wait("held.length > 0", "an image with the line's profile")
    page.key("m")
    page.run("(() => { window.createImageBitmap = create; held.splice(0).forEach((letGo) => letGo()); })()")
    wait_for_images(page)
    assert page.run("document.querySelector('[aria-label^=Profile]').hidden"), "it went with its tool"


def test_everything_can_be_done_by_keyboard(look):
    _, page = look(CAMERA)
    open_camera(page)
    page.key("s")
    page.wait(is_in("open"), "S stops")
    page.key("g")
    page.wait("document.querySelector('canvas.image').dataset.block === '0'", "G takes a single image")
    page.key("t")
    page.wait(is_in("streaming"), "T starts and triggers")
    page.key("/")
    page.wait("document.activeElement.type === 'search'", "/ searches")
    page.run("document.activeElement.blur()")
    page.key("?")
    page.wait("document.querySelector('dialog[open]')", "? helps")
    page.click("dialog .end button")
    page.run("document.querySelector('canvas.image').focus()")
    page.key("1")
    page.wait("document.querySelector('.about').textContent.includes('100 %')", "1 shows pixel by pixel")
    unreachable = page.run("[...document.querySelectorAll('button, input, select, summary, canvas.image')]"
                           ".filter((one) => one.tabIndex < 0).length")
    assert unreachable == 0
    unnamed = page.run("[...document.querySelectorAll('button, input, select')].filter((one) => one.offsetParent &&"
                       "!one.textContent.trim() && !one.ariaLabel && !one.labels?.length).map((one) => one.outerHTML)")
    assert unnamed == []
