#pragma once
// What the tests of the camera classes share.

#include "integration/support/VirtualBus.h"

#include <tavix/camera/Camera.h>

#include <gtest/gtest.h>

namespace cameratest {

using integration::VirtualBus;

/// As fast as the host takes the images, and small.
inline constexpr char kFast[] = R"([{"serial": "7", "guid": "1209000000A7", "userName": "left", "sensorWidth": 64,
                                     "sensorHeight": 64, "frameRateEnable": false}])";
/// A camera whose images come one after the other at a leisurely pace.
inline constexpr char kPaced[] = R"([{"serial": "7", "sensorWidth": 64, "sensorHeight": 64, "frameRate": 200}])";

/// The text of the exception of a kind that the call throws; a failure of the test when it throws none or another.
template<class Kind, class Call>
std::string ErrorOf(Call call) {
    try {
        call();
    } catch (const Kind& e) {
        return e.what();
    } catch (const std::exception& e) {
        ADD_FAILURE() << "another exception: " << e.what();
        return {};
    }
    ADD_FAILURE() << "no exception";
    return {};
}

} // namespace cameratest
