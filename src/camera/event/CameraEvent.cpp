#include <tavix/camera/CameraEvent.h>
#include <tavix/camera/Error.h>

namespace Tavix {

const Value& CameraEvent::operator[](const std::string& value) const {
    auto found = values.find(value);
    if (found == values.end()) found = values.find("Event" + name + value);
    if (found == values.end()) throw NotFound("the event " + name + " holds no '" + value + "'", value);
    return found->second;
}

} // namespace Tavix
