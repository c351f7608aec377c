#pragma once
// The checks of `tavix doctor`.

#include "cameras/TransportLayers.h"
#include "doctor/Finding.h"
#include "doctor/SystemFiles.h"
#include "doctor/UsbTopology.h"
#include "producers/ProducerPath.h"

#include <cstdint>
#include <optional>

namespace tool {

/// What a camera asks of the system, as far as it could be asked itself.
struct CameraDemand {
    std::string name;
    std::string path;                          ///< full name, which --camera takes
    std::string port;                          ///< "2-1.4"; empty for a camera that is not on the bus
    std::uint64_t payload = 0;                 ///< bytes of an image
    std::uint64_t transferMemory = 0;          ///< bytes that are in flight while it streams
    std::uint64_t bytesPerSecond = 0;          ///< that it is set up to send
    std::optional<unsigned int> mappedBuffers; ///< that the kernel maps for a stream; nothing: not asked
    std::string failure;                       ///< why it could not be asked; empty when it could
};

/// Producers that GenTL programs find. Re-entrant.
struct GentlProducers {
    std::string own;                   ///< where ours lies; empty when it is not installed
    std::vector<ProducerCheck> checks; ///< in the order in which programs find them
    ProducerPathFaults faults;
};

/// All that the checks look at. Re-entrant.
struct Patient {
    explicit Patient(SystemFiles system) : files(std::move(system)), cameras(FindUsbCameras(files)) {}

    SystemFiles files;
    std::vector<UsbCamera> cameras;
    std::vector<CameraDemand> demands;
    std::string libusbVersion;                      ///< "1.0.26"; empty: unknown
    std::optional<TransportLayers> transportLayers; ///< nothing: not asked
    std::optional<GentlProducers> producers;        ///< nothing: not asked
};

void ExamineKernel(const Patient& patient, Findings& findings);
void ExamineLibrary(const Patient& patient, Findings& findings);
void ExamineTransferMemory(const Patient& patient, Findings& findings);
void ExamineMappedMemory(const Patient& patient, Findings& findings);
void ExamineRealTime(const Patient& patient, Findings& findings);
void ExaminePermissions(const Patient& patient, Findings& findings);
void ExamineLinks(const Patient& patient, Findings& findings);
void ExamineControllers(const Patient& patient, Findings& findings);
void ExamineOpenings(const Patient& patient, Findings& findings);
void ExamineProducers(const Patient& patient, Findings& findings);
/// All of them, in the order of this list.
Findings Examine(const Patient& patient);

/// As it stands in front of a finding, for people and for programs.
const char* Name(Severity severity);

/// All of this computer, its cameras asked.
Findings ExamineThisComputer();

/// Buffers that a stream has when nobody says otherwise.
inline constexpr unsigned int kUsualBuffers = 8;
/// The command that lets more transfers wait for data.
inline constexpr const char* kRaiseTransferMemory =
    "echo 1000 | sudo tee /sys/module/usbcore/parameters/usbfs_memory_mb";
/// Text of the udev rule that the project installs.
const char* UdevRule();

} // namespace tool
