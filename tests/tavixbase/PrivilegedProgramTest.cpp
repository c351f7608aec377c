// What the libraries ask the environment, which in a program with more rights than its user is a stranger's word.

#include "tavixbase/support/AskedEnvironment.h"

#include "core/Log.h"
#include "tavix/TlFactory.h"

#include <gtest/gtest.h>

namespace Tavix {

TEST(PrivilegedProgram, IsAskedForEveryVariableInTheSafeWay) {
    CTlFactory& factory = CTlFactory::GetInstance();
    LogTrace(LogGetCatID("Test"), kLogError, "a line");
    DeviceInfoList devices;
    factory.EnumerateDevices(devices);
    for (const char* name :
         {"TAVIX_LOG_CONFIG", "TAVIX_TL_PATH", "TAVIX_USE_TL", "TAVIX_VIRTUAL_CAMERAS", "TAVIX_TRACE"})
        EXPECT_EQ(asked::Safely().count(name), 1U) << name;
    EXPECT_EQ(asked::Plainly(), std::set<std::string>());
}

} // namespace Tavix
