#pragma once
// Names of faults and other choices, as settings files have them, with what each does.

#include <cstddef>

#include "usb/Backend.h"
#include "virtualcam/device/FaultScript.h"

namespace virtualcam {

/// A choice by its name.
template<class E>
struct Named {
    const char* name;
    E value;
    const char* text;
};

/// All choices of a kind; constant.
template<class E>
struct Names {
    const Named<E>* rows;
    std::size_t count;

    const Named<E>* begin() const { return rows; }
    const Named<E>* end() const { return rows + count; }
};

extern const Names<usb::Speed> kSpeeds;
extern const Names<ControlFault> kControlFaults;
extern const Names<StreamFault> kStreamFaults;
extern const Names<EventFault> kEventFaults;
extern const Names<ManifestFault> kManifestFaults;

} // namespace virtualcam
