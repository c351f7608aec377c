import pytest

import tavix

tavix.virtual([
    {"serial": "7", "guid": "1209000000A7", "userName": "left", "sensorWidth": 64, "sensorHeight": 80,
     "frameRateEnable": False},
    {"serial": "8", "sensorWidth": 64, "sensorHeight": 64, "frameRate": 100,
     "registers": {"endlessCommands": [0x108004]}},  # TestEventGenerate
])


@pytest.fixture
def camera():
    with tavix.open("7") as opened:
        opened.UserSetSelector = "Default"
        opened.UserSetLoad()
        yield opened


@pytest.fixture
def triggered(camera):
    camera.TriggerSource = "Software"
    camera.TriggerMode = "On"
    return camera
