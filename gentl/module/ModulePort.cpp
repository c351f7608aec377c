#include "gentl/module/ModulePort.h"

#include <algorithm>

namespace gentl {
namespace {

constexpr std::uint64_t kDescriptionAddress = 0x10000000;
constexpr size_t kTextLength = 512;

/// Little-endian, as the descriptions say.
std::string NumberBytes(std::uint64_t number) {
    std::string bytes(8, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(number & 0xFF);
        number >>= 8;
    }
    return bytes;
}

std::string Element(const char* name, const std::string& value) {
    return std::string("<") + name + ">" + value + "</" + name + ">";
}

/// The register behind a feature, with what all of ours have in common.
std::string RegisterNode(const char* module, const char* kind, const std::string& name, std::uint64_t address,
                         size_t length, const char* access, const char* more = "") {
    return std::string("<") + kind + " Name=\"" + name + "\"" +
           (name.find('_') == name.npos ? "" : " NameSpace=\"Custom\"") + ">" +
           Element("Address", "0x" + Hexadecimal(address)) + Element("Length", std::to_string(length)) +
           Element("AccessMode", access) + Element("pPort", module) + Element("Cachable", "NoCache") + more + "</" +
           kind + ">\n";
}

std::string NumberRegister(const char* module, const std::string& name, std::uint64_t address, const char* access,
                           bool isSigned = false) {
    return RegisterNode(module, "IntReg", name, address, 8, access,
                        isSigned ? "<Sign>Signed</Sign><Endianess>LittleEndian</Endianess>"
                                 : "<Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>");
}

/// A sum of all bytes, by the method of Fowler, Noll and Vo.
std::uint64_t SumOf(const std::string& text, std::uint64_t sum) {
    for (const char c : text)
        sum = (sum ^ static_cast<std::uint8_t>(c)) * 0x100000001B3U;
    return sum;
}

/// Each text has its own, the same in every version of the producer: consumers keep descriptions by them.
std::string GuidOf(const std::string& text) {
    const std::uint64_t high = SumOf(text, 0xCBF29CE484222325U);
    const std::uint64_t low = SumOf(text, high ^ 0x9E3779B97F4A7C15U);
    char guid[37];
    std::snprintf(guid, sizeof guid, "%08X-%04X-%04X-%04X-%012llX", static_cast<unsigned int>(high >> 32),
                  static_cast<unsigned int>(high >> 16 & 0xFFFF), static_cast<unsigned int>(high & 0xFFFF),
                  static_cast<unsigned int>(low >> 48), static_cast<unsigned long long>(low & 0xFFFFFFFFFFFF));
    return guid;
}

const char* AccessOf(const ModulePort::SetNumber& set) {
    return set ? "RW" : "RO";
}

} // namespace

std::string ModulePort::LockOf(const SetNumber& set) const {
    return set && m_Lock ? Element("pIsLocked", m_Lock) : std::string();
}

std::uint64_t ModulePort::AddNumber(GetNumber get, SetNumber set, bool isSigned) {
    Register entry;
    entry.address = m_Next;
    entry.bytes = [get = std::move(get)] { return NumberBytes(get()); };
    entry.set = std::move(set);
    entry.isSigned = isSigned;
    m_Registers.push_back(std::move(entry));
    m_Next += 8;
    return m_Registers.back().address;
}

std::uint64_t ModulePort::AddText(GetText get) {
    Register entry;
    entry.address = m_Next;
    entry.length = kTextLength;
    entry.bytes = [get = std::move(get)] {
        std::string text = get();
        text.resize(kTextLength - 1);
        text.push_back('\0');
        return text;
    };
    m_Registers.push_back(std::move(entry));
    m_Next += kTextLength;
    return m_Registers.back().address;
}

void ModulePort::Text(const char* name, GetText get) {
    m_Nodes += RegisterNode(m_Module, "StringReg", name, AddText(std::move(get)), kTextLength, "RO");
    AddFeature(name);
}

void ModulePort::Constant(const char* name, std::string text) {
    Text(name, [text = std::move(text)] { return text; });
}

void ModulePort::Number(const char* name, GetNumber get, SetNumber set) {
    const char* const access = AccessOf(set);
    m_Nodes += NumberRegister(m_Module, name, AddNumber(std::move(get), std::move(set)), access);
    AddFeature(name);
}

void ModulePort::Limited(const char* name, Limits limits, GetNumber get, SetNumber set,
                         const std::vector<std::string>& selected) {
    const std::string base = name;
    m_Nodes += NumberRegister(m_Module, base + "_Max", AddNumber(std::move(limits.max), {}), "RO");
    const char* const access = AccessOf(set);
    const std::string lock = LockOf(set);
    m_Nodes += NumberRegister(m_Module, base + "_Value", AddNumber(std::move(get), std::move(set), limits.isSigned),
                              access, limits.isSigned);
    m_Nodes += "<Integer Name=\"" + base + "\">" + lock + Element("pValue", base + "_Value") +
               Element("Min", std::to_string(limits.min)) + Element("pMax", base + "_Max") +
               Element("Inc", std::to_string(limits.increment));
    for (const std::string& feature : selected)
        m_Nodes += Element("pSelected", feature);
    m_Nodes += "</Integer>\n";
    AddFeature(name);
}

void ModulePort::Choice(const char* name, const std::vector<std::pair<const char*, std::uint64_t>>& entries,
                        GetNumber get, SetNumber set) {
    const std::string base = name;
    const char* const access = AccessOf(set);
    const std::string lock = LockOf(set);
    m_Nodes += NumberRegister(m_Module, base + "_Value", AddNumber(std::move(get), std::move(set)), access);
    m_Nodes += "<Enumeration Name=\"" + base + "\">" + lock;
    for (const auto& [entry, value] : entries)
        m_Nodes += "<EnumEntry Name=\"" + std::string(entry) + "\">" + Element("Value", std::to_string(value)) +
                   "</EnumEntry>";
    m_Nodes += Element("pValue", base + "_Value") + "</Enumeration>\n";
    AddFeature(name);
}

void ModulePort::Command(const char* name, std::function<void()> execute) {
    const std::string base = name;
    const std::uint64_t address =
        AddNumber([] { return std::uint64_t(0); }, [run = std::move(execute)](std::uint64_t) { run(); });
    m_Nodes += NumberRegister(m_Module, base + "_Value", address, "RW");
    m_Nodes += "<Command Name=\"" + base + "\">" + Element("pValue", base + "_Value") + Element("CommandValue", "1") +
               "</Command>\n";
    AddFeature(name);
}

void ModulePort::Flag(const char* name, GetNumber get, SetNumber set) {
    const std::string base = name;
    const char* const access = AccessOf(set);
    m_Nodes += NumberRegister(m_Module, base + "_Value", AddNumber(std::move(get), std::move(set)), access);
    m_Nodes += "<Boolean Name=\"" + base + "\">" + Element("pValue", base + "_Value") + "</Boolean>\n";
    AddFeature(name);
}

void ModulePort::Event(const char* name, std::uint64_t id) {
    const std::string base = name;
    m_Nodes += "<IntReg Name=\"" + base + "\"><Address>0x0</Address><Length>8</Length><AccessMode>RO</AccessMode>" +
               Element("pPort", base + "_Port") +
               "<Cachable>NoCache</Cachable><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>\n";
    m_Nodes +=
        "<Port Name=\"" + base + "_Port\" NameSpace=\"Custom\">" + Element("EventID", Hexadecimal(id)) + "</Port>\n";
    AddFeature(name);
}

const std::string& ModulePort::Description() {
    std::call_once(m_Once, [this] {
        m_Description =
            "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
            "<RegisterDescription ModelName=\"" +
            std::string(m_Module) +
            "\" VendorName=\"Tavix\" ToolTip=\"Module of the USB3 Vision producer\" StandardNameSpace=\"None\" "
            "SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" "
            "MinorVersion=\"0\" SubMinorVersion=\"0\" ProductGuid=\"" +
            GuidOf(std::string(kModel) + m_Module) + "\" VersionGuid=\"" + GuidOf(m_Category + m_Nodes) +
            "\" "
            "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\" "
            "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
            "xsi:schemaLocation=\"http://www.genicam.org/GenApi/Version_1_1 "
            "http://www.genicam.org/GenApi/GenApiSchema_Version_1_1.xsd\">\n"
            "<Category Name=\"Root\" NameSpace=\"Standard\">\n<pFeature>" +
            std::string(m_Module) + "Control</pFeature>\n</Category>\n<Category Name=\"" + m_Module + "Control\">\n" +
            m_Category + "</Category>\n" + m_Nodes + "<Port Name=\"" + m_Module +
            "\"></Port>\n</RegisterDescription>\n";
    });
    return m_Description;
}

std::vector<Port::Url> ModulePort::Urls() {
    Url url;
    url.fileName = std::string(m_Module) + ".xml";
    url.address = kDescriptionAddress;
    url.size = Description().size();
    url.text =
        "local:" + url.fileName + ";" + Hexadecimal(url.address) + ";" + Hexadecimal(url.size) + "?SchemaVersion=1.1.0";
    return {url};
}

Port::Identity ModulePort::Identify() {
    return {m_Id, kVendor, kModel, m_Module, true, true};
}

void ModulePort::ReadDescription(std::uint64_t offset, void* buffer, size_t& size) {
    const std::string& text = Description();
    size = std::min<size_t>(size, text.size() - offset);
    std::memcpy(buffer, text.data() + offset, size);
}

ModulePort::Register* ModulePort::FindRegister(std::uint64_t address) {
    auto after = std::upper_bound(m_Registers.begin(), m_Registers.end(), address,
                                  [](std::uint64_t wanted, const Register& each) { return wanted < each.address; });
    if (after == m_Registers.begin()) return nullptr;
    --after;
    return address < after->address + after->length ? &*after : nullptr;
}

void ModulePort::Read(std::uint64_t address, void* buffer, size_t& size) {
    if (address >= kDescriptionAddress && address - kDescriptionAddress < Description().size())
        return ReadDescription(address - kDescriptionAddress, buffer, size);
    const Register* const entry = FindRegister(address);
    if (!entry) Fail(GC_ERR_INVALID_ADDRESS, "the module has no register there");
    const size_t offset = address - entry->address;
    if (size > entry->length - offset) Fail(GC_ERR_INVALID_ADDRESS, "the module has no register of that length there");
    const std::string bytes = entry->bytes();
    std::memcpy(buffer, bytes.data() + offset, size);
}

void ModulePort::Write(std::uint64_t address, const void* buffer, size_t& size) {
    const Register* const entry = FindRegister(address);
    if (!entry || entry->address != address || size > entry->length)
        Fail(GC_ERR_INVALID_ADDRESS, "the module has no register of that length there");
    if (!entry->set) Fail(GC_ERR_ACCESS_DENIED, "the register is read-only");
    if (size == 0) return;
    std::uint64_t number = 0;
    for (size_t i = 0; i < size; ++i)
        number |= static_cast<std::uint64_t>(static_cast<const std::uint8_t*>(buffer)[i]) << (8 * i);
    const bool isNegative = size < 8 && (number >> (8 * size - 1) & 1) != 0;
    if (entry->isSigned && isNegative) number |= ~std::uint64_t(0) << (8 * size);
    entry->set(number);
}

} // namespace gentl
