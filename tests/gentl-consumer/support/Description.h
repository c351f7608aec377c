#pragma once
// A module's description: found by its URL, read through the module's port, made into a node map.

#include "Session.h"

#include <GenApi/GenApi.h>

#include <memory>
#include <string>
#include <vector>

namespace consumer {

/// What `local:[///]NAME.EXT;ADDRESS;LENGTH[?SchemaVersion=X.Y.Z]` says.
struct LocalUrl {
    std::string name;
    std::string extension; ///< in small letters
    std::uint64_t address = 0;
    std::uint64_t length = 0;
    std::string schemaVersion; ///< empty when it is not told
};

/// Throws std::runtime_error for any other form.
LocalUrl ParseLocalUrl(const std::string& url);

/// A module's port for node maps. Throws GenericException with the code of what failed. As thread-safe as the library.
class ModulePort final : public GenApi::CPortImpl {
public:
    ModulePort(Library& library, PORT_HANDLE port) : m_Library(library), m_Port(port) {}
    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
    void Read(void* buffer, int64_t address, int64_t length) override;
    void Write(const void* buffer, int64_t address, int64_t length) override;

private:
    Library& m_Library;
    const PORT_HANDLE m_Port;
};

/// A module as a consumer with GenApi sees it. Bound to a thread.
class Module {
public:
    Module(Session& session, PORT_HANDLE port);

    const LocalUrl& Url() const { return m_Url; }
    /// As it was read, zipped or not.
    const std::vector<std::uint8_t>& File() const { return m_File; }
    Answer UrlInfo(Command what) const;
    Answer PortInfo(Command what) const;
    GenApi::CNodeMapRef& Nodes() { return m_Nodes; }
    /// Null when there is none.
    GenApi::INode* Find(const char* name) { return m_Nodes._GetNode(name); }
    std::int64_t Integer(const char* name);
    std::string Text(const char* name);
    void Set(const char* name, const char* value);
    void Execute(const char* name);

private:
    Library& m_Library;
    const PORT_HANDLE m_Handle;
    LocalUrl m_Url;
    std::vector<std::uint8_t> m_File;
    ModulePort m_Port;
    GenApi::CNodeMapRef m_Nodes;
};

} // namespace consumer
