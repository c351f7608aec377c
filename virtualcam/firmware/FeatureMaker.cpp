#include "virtualcam/firmware/FeatureMaker.h"

#include <algorithm>
#include <utility>

namespace virtualcam {
namespace {

Status Verdict(bool good) {
    return good ? Status::Success : Status::InvalidParameter;
}

} // namespace

Register& FeatureMaker::Range(std::uint64_t address, std::uint32_t value, std::uint32_t low, std::uint32_t high,
                              std::uint32_t step) const {
    Register& made = m_Registers.AddValue(address, Access::ReadWrite, value);
    made.inUserSet = true;
    made.check = [low, high, step](const std::uint8_t* bytes) {
        const std::uint32_t wanted = Load<std::uint32_t>(bytes);
        return Verdict(wanted >= low && wanted <= high && (wanted - low) % step == 0);
    };
    return made;
}

Register& FeatureMaker::Choice(std::uint64_t address, std::uint32_t value, std::vector<std::uint32_t> values) const {
    Register& made = m_Registers.AddValue(address, Access::ReadWrite, value);
    made.inUserSet = true;
    made.check = [values = std::move(values)](const std::uint8_t* bytes) {
        return Verdict(std::find(values.begin(), values.end(), Load<std::uint32_t>(bytes)) != values.end());
    };
    return made;
}

Register& FeatureMaker::Float(std::uint64_t address, float value, float low, float high) const {
    Register& made = m_Registers.AddValue(address, Access::ReadWrite, FloatBits(value));
    made.inUserSet = true;
    made.check = [low, high](const std::uint8_t* bytes) {
        const float wanted = FromFloatBits(Load<std::uint32_t>(bytes));
        return Verdict(wanted >= low && wanted <= high);
    };
    return made;
}

Register& FeatureMaker::Double(std::uint64_t address, double value, double low, double high) const {
    Register& made = m_Registers.AddValue(address, Access::ReadWrite, FloatBits(value));
    made.inUserSet = true;
    made.check = [low, high](const std::uint8_t* bytes) {
        const double wanted = FromFloatBits(Load<std::uint64_t>(bytes));
        return Verdict(wanted >= low && wanted <= high);
    };
    return made;
}

Register& FeatureMaker::Command(std::uint64_t address, std::function<void()> execute) const {
    Register& made = m_Registers.AddValue<std::uint32_t>(address, Access::ReadWrite, 0);
    made.written = [&made, execute = std::move(execute)] {
        const bool run = Load<std::uint32_t>(made.bytes.data()) == 1;
        Store<std::uint32_t>(made.bytes.data(), 0);
        if (run) execute();
    };
    return made;
}

Register& FeatureMaker::Reading(std::uint64_t address, std::function<std::uint32_t()> read) const {
    Register& made = m_Registers.AddValue<std::uint32_t>(address, Access::ReadOnly, 0);
    made.refresh = [read = std::move(read)](Register& entry) { Store(entry.bytes.data(), read()); };
    return made;
}

Register& FeatureMaker::Lockable(Register& entry) const {
    entry.check = [inner = entry.check, locked = m_Locked](const std::uint8_t* bytes) {
        if (locked()) return Status::AccessDenied;
        return inner ? inner(bytes) : Status::Success;
    };
    return entry;
}

} // namespace virtualcam
