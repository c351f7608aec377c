#include "Failure.h"

#include "vexlo/Vexlo.h"

namespace Tavix {

GenICam::gcstring VxStatus2Msg(unsigned int status) {
    char text[1024] = {};
    vexlo::GetStatusMessage(status, text, sizeof text, nullptr);
    text[sizeof text - 1] = 0;
    return text;
}

} // namespace Tavix
