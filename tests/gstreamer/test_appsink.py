"""tavixsrc as a program in Python meets it."""

import gi
import pytest

gi.require_version("Gst", "1.0")
gi.require_version("GstApp", "1.0")
from gi.repository import GLib, Gst, GstApp  # noqa: E402, F401

CHUNKS = "ChunkModeActive=true ChunkSelector=ExposureTime ChunkEnable=true"
LONG = 20 * Gst.SECOND


@pytest.fixture(scope="module", autouse=True)
def gstreamer():
    Gst.init(None)


@pytest.fixture
def play():
    pipelines = []

    def make(description):
        pipeline = Gst.parse_launch(description)
        pipelines.append(pipeline)
        pipeline.set_state(Gst.State.PLAYING)
        return pipeline, pipeline.get_by_name("src"), pipeline.get_by_name("sink")

    yield make
    for pipeline in pipelines:
        pipeline.set_state(Gst.State.NULL)


def test_buffers_come_with_pixels_time_and_facts(play):
    _, _, sink = play(
        f'tavixsrc name=src num-buffers=5 features="Width=320 Height=240 {CHUNKS}" ! appsink name=sink sync=false'
    )
    last = -1
    for number in range(5):
        sample = sink.try_pull_sample(LONG)
        caps = sample.get_caps().get_structure(0)
        assert caps.get_value("format") == "GRAY8"
        buffer = sample.get_buffer()
        is_mapped, pixels = buffer.map(Gst.MapFlags.READ)
        assert is_mapped
        assert len(pixels.data) == caps.get_value("width") * caps.get_value("height") == 320 * 240
        buffer.unmap(pixels)
        assert buffer.pts > last
        last = buffer.pts
        facts = buffer.get_custom_meta("TavixImageMeta").get_structure()
        assert facts.get_value("block-id") == number
        assert facts.get_value("chunks").get_value("ExposureTime") == 10000.0
    assert sink.try_pull_sample(LONG) is None and sink.is_eos()


def test_messages_tell_of_each_image_on_request(play):
    pipeline, _, _ = play(f'tavixsrc name=src num-buffers=3 post-messages=true features="{CHUNKS}" ! fakesink')
    messages = []
    while True:
        message = pipeline.get_bus().timed_pop_filtered(LONG, Gst.MessageType.ELEMENT | Gst.MessageType.EOS)
        if message.type == Gst.MessageType.EOS:
            break
        if message.get_structure().get_name() == "tavix-image":
            messages.append(message.get_structure())
    assert [one.get_value("block-id") for one in messages] == [0, 1, 2]
    assert all(one.get_value("chunks").get_value("ExposureTime") == 10000.0 for one in messages)
    assert all(one.get_value("timestamp") > 0 for one in messages)


def test_features_have_pythons_types(play):
    _, source, sink = play("tavixsrc name=src ! appsink name=sink sync=false drop=true max-buffers=1")
    assert sink.try_pull_sample(LONG)
    assert source.emit("set-feature", "ExposureTime", 2500.0)
    assert source.emit("get-feature", "ExposureTime") == 2500.0
    assert source.emit("set-feature", "Width", 64)
    assert source.emit("get-feature", "Width") == 64
    assert source.emit("set-feature", "ReverseX", True)
    assert source.emit("get-feature", "ReverseX") is True
    assert source.emit("set-feature", "PixelFormat", "RGB8")
    assert source.emit("get-feature", "PixelFormat") == "RGB8"
    assert source.emit("get-feature", "Gian") is None
    assert not source.emit("set-feature", "Gian", 1)
    assert "ExposureTime" in source.emit("list-features")
    assert source.get_property("stats").get_value("copied") == 0


def test_images_are_triggered(play):
    _, source, sink = play(
        'tavixsrc name=src features="TriggerSource=Software TriggerMode=On" ! appsink name=sink sync=false async=false'
    )
    for _ in range(3):
        assert source.emit("trigger")
        assert sink.try_pull_sample(LONG)
    assert sink.try_pull_sample(0) is None


def test_errors_have_domain_and_code(play):
    pipeline, _, _ = play("tavixsrc name=src camera=nobody ! fakesink")
    error, _ = pipeline.get_bus().timed_pop_filtered(LONG, Gst.MessageType.ERROR).parse_error()
    assert error.matches(Gst.ResourceError.quark(), Gst.ResourceError.NOT_FOUND)
    assert "nobody" in error.message
