#pragma once
// What a camera in order does.

#include "GrabRun.h"

#include <gtest/gtest.h>

namespace integration {

/// Grabs some frames; each must be good.
inline void ExpectGoodFrames(Tavix::ITavixDevice& camera, std::size_t count = 5) {
    GrabRun run(camera);
    run.Start();
    for (const Frame& frame : run.Next(count))
        ASSERT_TRUE(frame.result.Succeeded()) << frame.result.GetErrorDescription().c_str();
    run.Stop();
}

} // namespace integration
