#include "usb/libusb/LibusbResult.h"

#include <gtest/gtest.h>
#include <libusb.h>

#include <cerrno>

namespace {

using usb::FromLibusb;
using usb::Result;

TEST(LibusbResult, KnowsEveryErrorOfLibusb) {
    const std::pair<int, Result> rows[] = {
        {LIBUSB_SUCCESS, Result::Ok},
        {LIBUSB_ERROR_IO, Result::Io},
        {LIBUSB_ERROR_INVALID_PARAM, Result::InvalidParam},
        {LIBUSB_ERROR_ACCESS, Result::Access},
        {LIBUSB_ERROR_NO_DEVICE, Result::NoDevice},
        {LIBUSB_ERROR_NOT_FOUND, Result::NotFound},
        {LIBUSB_ERROR_BUSY, Result::Busy},
        {LIBUSB_ERROR_TIMEOUT, Result::Timeout},
        {LIBUSB_ERROR_OVERFLOW, Result::Overflow},
        {LIBUSB_ERROR_PIPE, Result::Pipe},
        {LIBUSB_ERROR_INTERRUPTED, Result::Interrupted},
        {LIBUSB_ERROR_NO_MEM, Result::NoMemory},
        {LIBUSB_ERROR_NOT_SUPPORTED, Result::NotSupported},
        {LIBUSB_ERROR_OTHER, Result::Other},
        {-4711, Result::Other},
        {4711, Result::Ok},
    };
    for (const auto& [code, result] : rows)
        EXPECT_EQ(FromLibusb(code), result) << code;
}

TEST(LibusbResult, TakesTheShortageOfMemoryThatOldVersionsHideInAnIoError) {
    EXPECT_EQ(FromLibusb(LIBUSB_ERROR_IO, ENOMEM), Result::NoMemory);
    EXPECT_EQ(FromLibusb(LIBUSB_ERROR_IO, EPROTO), Result::Io);
    EXPECT_EQ(FromLibusb(LIBUSB_ERROR_NO_MEM, 0), Result::NoMemory);
    EXPECT_EQ(FromLibusb(LIBUSB_SUCCESS, ENOMEM), Result::Ok);
}

TEST(LibusbResult, TakesWhatTheSystemSaidWhereLibusbKeepsItToItself) {
    const std::pair<int, Result> rows[] = {
        {EPERM, Result::Access}, {EACCES, Result::Access}, {EBUSY, Result::Busy},   {EPIPE, Result::Pipe},
        {EPROTO, Result::Io},    {ETIME, Result::Io},      {EIO, Result::Io},       {ETIMEDOUT, Result::Timeout},
        {EILSEQ, Result::Io},    {0, Result::Other},       {EINVAL, Result::Other},
    };
    for (const auto& [error, result] : rows)
        EXPECT_EQ(FromLibusb(LIBUSB_ERROR_OTHER, error), result) << error;
    EXPECT_EQ(FromLibusb(LIBUSB_ERROR_IO, EPERM), Result::Access) << "as in a container without the device";
    EXPECT_EQ(FromLibusb(LIBUSB_ERROR_IO, EMFILE), Result::Io);
    EXPECT_EQ(FromLibusb(LIBUSB_ERROR_BUSY, EPERM), Result::Busy) << "libusb's own word counts where it is clear";
}

TEST(LibusbResult, KnowsEveryTransferStatusOfLibusb) {
    const std::pair<int, usb::TransferStatus> rows[] = {
        {LIBUSB_TRANSFER_COMPLETED, usb::TransferStatus::Completed},
        {LIBUSB_TRANSFER_ERROR, usb::TransferStatus::Error},
        {LIBUSB_TRANSFER_TIMED_OUT, usb::TransferStatus::TimedOut},
        {LIBUSB_TRANSFER_CANCELLED, usb::TransferStatus::Cancelled},
        {LIBUSB_TRANSFER_STALL, usb::TransferStatus::Stall},
        {LIBUSB_TRANSFER_NO_DEVICE, usb::TransferStatus::NoDevice},
        {LIBUSB_TRANSFER_OVERFLOW, usb::TransferStatus::Overflow},
        {4711, usb::TransferStatus::Error},
    };
    for (const auto& [code, status] : rows)
        EXPECT_EQ(usb::FromLibusbStatus(code), status) << code;
}

TEST(LibusbResult, KnowsEverySpeedOfLibusb) {
    const std::pair<int, usb::Speed> rows[] = {
        {LIBUSB_SPEED_UNKNOWN, usb::Speed::Unknown},
        {LIBUSB_SPEED_LOW, usb::Speed::Low},
        {LIBUSB_SPEED_FULL, usb::Speed::Full},
        {LIBUSB_SPEED_HIGH, usb::Speed::High},
        {LIBUSB_SPEED_SUPER, usb::Speed::Super},
        {LIBUSB_SPEED_SUPER_PLUS, usb::Speed::SuperPlus},
        {4711, usb::Speed::Unknown},
    };
    for (const auto& [code, speed] : rows)
        EXPECT_EQ(usb::FromLibusbSpeed(code), speed) << code;
}

} // namespace
