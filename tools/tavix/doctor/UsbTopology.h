#pragma once
// USB devices as the kernel's files show them.

#include "doctor/SystemFiles.h"

#include <string>
#include <vector>

namespace tool {

/// A hub between a camera and its host controller.
struct UsbHub {
    std::string port; ///< "2-1"
    std::string name; ///< what it calls itself, or "hub"
    std::int64_t speed = 0;
    bool isBusPowered = false;
};

/// A USB3 Vision camera, whether or not it may be opened.
struct UsbCamera {
    std::string port;           ///< as the kernel names it: "2-1.4"
    std::string name;           ///< "VC-1300 (40000001)", with the port where it does not tell it apart
    std::string node;           ///< "/dev/bus/usb/002/005"
    std::int64_t speed = 0;     ///< of its link in Mbit/s; 0: unknown
    std::int64_t bestSpeed = 0; ///< that it says it supports; 0: it does not say
    std::string controller;     ///< the host controller's device, "0000:00:14.0"
    std::int64_t busSpeed = 0;  ///< of the controller's root hub in Mbit/s
    std::vector<UsbHub> hubs;   ///< from the controller on
    std::string driver;         ///< kernel driver of one of its USB3 Vision interfaces; empty: none
    std::string driverInterface;
    bool mayAutosuspend = false;
};

/// All cameras, sorted by their ports.
std::vector<UsbCamera> FindUsbCameras(const SystemFiles& files);

} // namespace tool
