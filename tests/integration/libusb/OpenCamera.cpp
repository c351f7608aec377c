// Opens the first camera and prints what came of it: a second program for the tests.
#include "integration/support/DirectCamera.h"

#include <vexlo/Vexlo.h>

#include <cstdio>
#include <exception>

int main() {
    if (vexlo::Init() != vexlo::VX_OK) return 1;
    try {
        const auto camera = integration::NewDevice();
        const vexlo::VxStatus status = camera->Open(integration::Discovered().at(0));
        std::printf("0x%08X %s", status, integration::TextOf(status).c_str());
    } catch (const std::exception& error) {
        std::printf("%s", error.what());
    }
    vexlo::Exit();
    return 0;
}
