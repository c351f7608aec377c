// Reading and writing the value of a feature.
#include "camera/Failure.h"
#include "camera/feature/NodeAccess.h"
#include "camera/time/Deadline.h"
#include "core/Printable.h"

#include <algorithm>
#include <cmath>
#include <thread>

namespace Tavix {
namespace {

using detail::NodeAccess;

constexpr std::chrono::milliseconds kCommandStep{2};

double Nearest(double value, double low, double high, double step) {
    const double inside = std::min(std::max(value, low), high);
    if (step <= 0) return inside;
    const double onGrid = low + std::round((inside - low) / step) * step;
    return onGrid > high ? onGrid - step : onGrid;
}

[[noreturn]] void ThrowOtherType(const detail::NodeAccess& access, const std::string& value,
                                 const std::string& reason) {
    const bool isCommand = access.Type() == GenApi::intfICommand;
    access.ThrowBadValue(value, isCommand ? "it is a command, which takes no value and is executed" : reason);
}

/// It leaves the bus by that, often before it has answered.
bool MakesTheCameraLeave(const std::string& command) {
    return command == "DeviceReset";
}

} // namespace

Feature& Feature::operator=(const Feature& other) {
    if (&other == this) return *this;
    std::visit(
        [this](const auto& value) {
            using T = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<T, std::string>) {
                SetText(value);
            } else {
                *this = value;
            }
        },
        other.Read().Get());
    return *this;
}

Feature& Feature::operator=(const std::string& value) {
    SetText(value);
    return *this;
}

Feature& Feature::operator=(const char* value) {
    SetText(value);
    return *this;
}

void Feature::SetInt(std::int64_t value) {
    const NodeAccess access(*m_Source, m_Name);
    const std::string text = std::to_string(value);
    if (access.Type() == GenApi::intfIFloat) {
        access.Write(text, [&] { access.As<GenApi::IFloat>()->SetValue(static_cast<double>(value)); });
    } else if (access.Type() == GenApi::intfIBoolean && (value == 0 || value == 1)) {
        access.Write(text, [&] { access.As<GenApi::IBoolean>()->SetValue(value == 1); });
    } else if (auto* integer = access.As<GenApi::IInteger>(); integer && access.Type() == GenApi::intfIInteger) {
        access.Write(text, [&] { integer->SetValue(value); });
    } else {
        ThrowOtherType(access, text, "it takes no whole number");
    }
    m_Source->OnWritten(access.Node(), text);
}

void Feature::SetFloat(double value) {
    const NodeAccess access(*m_Source, m_Name);
    const std::string text = Value(value).Text();
    if (access.Type() != GenApi::intfIFloat) ThrowOtherType(access, text, "it takes no floating-point number");
    access.Write(text, [&] { access.As<GenApi::IFloat>()->SetValue(value); });
    m_Source->OnWritten(access.Node(), text);
}

void Feature::SetBool(bool value) {
    const NodeAccess access(*m_Source, m_Name);
    const std::string text = value ? "true" : "false";
    if (access.Type() != GenApi::intfIBoolean) ThrowOtherType(access, text, "it takes no Boolean");
    access.Write(text, [&] { access.As<GenApi::IBoolean>()->SetValue(value); });
    m_Source->OnWritten(access.Node(), text);
}

void Feature::SetText(const std::string& value) {
    const NodeAccess access(*m_Source, m_Name);
    const std::string shown = "'" + Printable(value) + "'";
    if (access.Type() == GenApi::intfICommand || access.Type() == GenApi::intfICategory)
        ThrowOtherType(access, shown, "it takes no value");
    if (value.find('\0') != std::string::npos) access.ThrowBadValue(shown, "a text ends where a NUL character stands");
    access.Write(shown, [&] { access.As<GenApi::IValue>()->FromString(value.c_str()); });
    m_Source->OnWritten(access.Node(), value);
}

double Feature::SetNearest(double value) {
    if (std::isnan(value)) throw ValueError("cannot set " + m_Name + " to not-a-number", m_Name);
    const double nearest = Nearest(value, Min(), Max(), Increment());
    if (Type() == FeatureType::Integer) {
        const double limited = std::min(std::max(nearest, -9.2e18), 9.2e18); // no whole number lies beyond
        SetInt(static_cast<std::int64_t>(std::llround(limited)));
    } else {
        SetFloat(nearest);
    }
    return nearest;
}

void Feature::ThrowTooLarge(const std::string& value) const {
    throw ValueError(value + ", of " + m_Name + ", does not fit the type of number asked for", m_Name);
}

std::int64_t Feature::Int() const {
    const NodeAccess access(*m_Source, m_Name);
    if (auto* enumeration = access.As<GenApi::IEnumeration>())
        return access.Read([&] { return enumeration->GetIntValue(); });
    if (access.Type() == GenApi::intfIBoolean)
        return access.Read([&] { return access.As<GenApi::IBoolean>()->GetValue() ? 1 : 0; });
    if (access.Type() != GenApi::intfIInteger) access.ThrowWrongType("whole number");
    return access.Read([&] { return access.As<GenApi::IInteger>()->GetValue(); });
}

double Feature::Float() const {
    const NodeAccess access(*m_Source, m_Name);
    if (access.Type() == GenApi::intfIFloat)
        return access.Read([&] { return access.As<GenApi::IFloat>()->GetValue(); });
    if (access.Type() != GenApi::intfIInteger) access.ThrowWrongType("number");
    return access.Read([&] { return static_cast<double>(access.As<GenApi::IInteger>()->GetValue()); });
}

bool Feature::Bool() const {
    const NodeAccess access(*m_Source, m_Name);
    if (access.Type() != GenApi::intfIBoolean) access.ThrowWrongType("Boolean");
    return access.Read([&] { return access.As<GenApi::IBoolean>()->GetValue(); });
}

std::string Feature::Text() const {
    const NodeAccess access(*m_Source, m_Name);
    auto* value = access.As<GenApi::IValue>();
    if (!value) access.ThrowWrongType("value");
    return access.Read([&] { return detail::Text(value->ToString()); });
}

Value Feature::Read() const {
    switch (Type()) {
    case FeatureType::Integer:
        return Value(Int());
    case FeatureType::Float:
        return Value(Float());
    case FeatureType::Boolean:
        return Value(Bool());
    default:
        return Value(Text());
    }
}

std::vector<std::uint8_t> Feature::Bytes() const {
    const NodeAccess access(*m_Source, m_Name);
    auto* memory = access.As<GenApi::IRegister>();
    if (!memory) access.ThrowWrongType("register");
    return access.Read([&] {
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(memory->GetLength()));
        memory->Get(bytes.data(), static_cast<std::int64_t>(bytes.size()));
        return bytes;
    });
}

void Feature::SetBytes(const std::vector<std::uint8_t>& bytes) {
    const NodeAccess access(*m_Source, m_Name);
    auto* memory = access.As<GenApi::IRegister>();
    const std::string text = std::to_string(bytes.size()) + " bytes";
    if (!memory) ThrowOtherType(access, text, "it takes no bytes");
    access.Write(text, [&] { memory->Set(bytes.data(), static_cast<std::int64_t>(bytes.size())); });
    m_Source->OnWritten(access.Node(), detail::Text(memory->ToString()));
}

void Feature::Start() const {
    const NodeAccess access(*m_Source, m_Name);
    auto* command = access.As<GenApi::ICommand>();
    if (!command) access.ThrowWrongType("command");
    if (!GenApi::IsWritable(command->GetAccessMode())) access.ThrowNoAccess("executed");
    try {
        access.Write("done", [&] { command->Execute(); });
    } catch (const Removed&) {
        if (!MakesTheCameraLeave(m_Name)) throw;
        return;
    }
    m_Source->OnWritten(access.Node(), {});
}

bool Feature::AwaitDone(std::chrono::milliseconds timeout) const {
    const detail::Deadline deadline = detail::DeadlineIn(timeout);
    while (!IsDone()) {
        if (detail::IsOver(deadline)) return false;
        std::this_thread::sleep_for(kCommandStep);
    }
    return true;
}

void Feature::Execute(std::chrono::milliseconds timeout) const {
    Start();
    if (AwaitDone(timeout)) return;
    throw Timeout(m_Name + " was started and is not done after " + std::to_string(timeout.count()) + " ms", m_Name);
}

bool Feature::IsDone() const try {
    const NodeAccess access(*m_Source, m_Name);
    auto* command = access.As<GenApi::ICommand>();
    if (!command) access.ThrowWrongType("command");
    return access.Ask([&] { return command->IsDone(); });
} catch (const Removed&) {
    if (!MakesTheCameraLeave(m_Name)) throw;
    return true;
}

} // namespace Tavix
