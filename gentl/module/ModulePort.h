#pragma once
// The registers of a module and the description that gives them names.

#include "gentl/module/Module.h"

#include <functional>
#include <string>
#include <vector>

namespace gentl {

/// Features in a row: each gets registers of its own, in the order of adding. Little-endian; strings take 512 bytes,
/// everything else 8. Accessors run on the consumer's threads and throw Failure. Built by one thread, then thread-safe.
class ModulePort final : public Port {
public:
    using GetText = std::function<std::string()>;
    using GetNumber = std::function<std::uint64_t()>;
    using SetNumber = std::function<void(std::uint64_t)>;

    /// The module's name is also that of its port and of its category.
    ModulePort(const char* module, std::string id) : m_Module(module), m_Id(std::move(id)) {}

    void Text(const char* name, GetText get);
    void Constant(const char* name, std::string text);
    /// Without a setter it is read-only.
    void Number(const char* name, GetNumber get, SetNumber set = {});
    struct Limits {
        std::uint64_t min = 0;
        GetNumber max;
        std::uint64_t increment = 1;
        bool isSigned = false; ///< then numbers are in two's complement
    };
    /// A number with limits; `selected` names the features that it selects, one after the other.
    void Limited(const char* name, Limits limits, GetNumber get, SetNumber set,
                 const std::vector<std::string>& selected = {});
    void Choice(const char* name, const std::vector<std::pair<const char*, std::uint64_t>>& entries, GetNumber get,
                SetNumber set = {});
    void Command(const char* name, std::function<void()> execute);
    void Flag(const char* name, GetNumber get, SetNumber set = {});
    /// Features with a setter that are added from here on are locked while that one is not 0.
    void LockBy(const char* feature) { m_Lock = feature; }
    /// An event of the module with that number.
    void Event(const char* name, std::uint64_t id);

    void Read(std::uint64_t address, void* buffer, size_t& size) override;
    void Write(std::uint64_t address, const void* buffer, size_t& size) override;
    std::vector<Url> Urls() override;
    Identity Identify() override;
    std::string Version() override { return kVersion; }

    /// For tests: what a consumer downloads.
    const std::string& Description();

private:
    struct Register {
        std::uint64_t address = 0;
        size_t length = 8;
        std::function<std::string()> bytes; // always of this length
        SetNumber set;                      // empty: read-only
        bool isSigned = false;
    };

    std::uint64_t AddNumber(GetNumber get, SetNumber set, bool isSigned = false);
    std::string LockOf(const SetNumber& set) const;
    std::uint64_t AddText(GetText get);
    void AddFeature(const char* name) { m_Category += "<pFeature>" + std::string(name) + "</pFeature>\n"; }
    void ReadDescription(std::uint64_t offset, void* buffer, size_t& size);
    Register* FindRegister(std::uint64_t address);

    const char* const m_Module;
    const std::string m_Id;
    std::vector<Register> m_Registers; // constant once built
    std::uint64_t m_Next = 0x1000;
    const char* m_Lock = nullptr;
    std::string m_Category; // features of the root
    std::string m_Nodes;
    std::once_flag m_Once;
    std::string m_Description; // constant after m_Once
};

} // namespace gentl
