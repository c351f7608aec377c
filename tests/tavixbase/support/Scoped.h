#pragma once
// State of the process that a test changes and puts back.

#include "tavix/ConfigFileRegistry.h"
#include "tavix/TlFactory.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

namespace Tavix {

class ScopedVariable {
public:
    ScopedVariable(const char* name, const std::string& value) : m_Name(name) {
        if (const char* old = std::getenv(name)) m_Old = old;
        setenv(name, value.c_str(), 1);
    }
    ~ScopedVariable() {
        if (m_Old) {
            setenv(m_Name, m_Old->c_str(), 1);
        } else {
            unsetenv(m_Name);
        }
    }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    const char* m_Name;
    std::optional<std::string> m_Old;
};

class ScopedGlobalFilter {
public:
    explicit ScopedGlobalFilter(const DeviceInfoList& filter) : m_pOld((SetGlobalDeviceFilterInstance(&filter))) {}
    ~ScopedGlobalFilter() { SetGlobalDeviceFilterInstance(m_pOld); }
    ScopedGlobalFilter(const ScopedGlobalFilter&) = delete;
    ScopedGlobalFilter& operator=(const ScopedGlobalFilter&) = delete;

private:
    const DeviceInfoList* m_pOld;
};

// The bindings made in its scope end with it.
class ScopedBindings {
public:
    ScopedBindings() { registry.Clear(); }
    ~ScopedBindings() { registry.Clear(); }
    ScopedBindings(const ScopedBindings&) = delete;
    ScopedBindings& operator=(const ScopedBindings&) = delete;

    CConfigFileRegistry& registry = CConfigFileRegistry::GetInstance();
};

// A folder of its own, removed with all it holds.
class ScopedFolder {
public:
    ScopedFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "tavixbase-XXXXXX").string();
        if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary folder");
        m_Path = pattern;
    }
    ~ScopedFolder() {
        std::error_code ignored; // a folder that stays behind harms no test
        std::filesystem::remove_all(m_Path, ignored);
    }
    ScopedFolder(const ScopedFolder&) = delete;
    ScopedFolder& operator=(const ScopedFolder&) = delete;

    std::string Path(const std::string& name = {}) const { return name.empty() ? m_Path : m_Path + "/" + name; }
    std::string Write(const std::string& name, const std::string& text) const {
        std::ofstream(Path(name), std::ios::binary) << text;
        return Path(name);
    }
    std::string Link(const std::string& name, const std::string& target) const {
        std::filesystem::create_symlink(target, Path(name));
        return Path(name);
    }

private:
    std::string m_Path;
};

} // namespace Tavix
