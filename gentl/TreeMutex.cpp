#include "gentl/TreeMutex.h"

namespace gentl {

Tavix::Mutex& TreeMutex() {
    static Tavix::Mutex& mutex = *new Tavix::Mutex; // consumers may call while the process ends
    return mutex;
}

} // namespace gentl
