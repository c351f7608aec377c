#pragma once
// Where transport-layer libraries are looked for and what they are called.

#include <string>
#include <string_view>
#include <vector>

namespace Tavix::plugin {

/// True for names of the form libtavix<anything>-<major>.<minor>.<patch>.so, without folder. Re-entrant.
bool IsPluginFileName(std::string_view name);

/// The folders of TAVIX_TL_PATH (colon separated, empty ones skipped; ignored in a program that runs with more rights
/// than its user), then the folder that holds this library.
std::vector<std::string> SearchFolders();

/// Paths of the plug-ins in `folders`: folder by folder, sorted by name. Folders that cannot be read are skipped.
std::vector<std::string> FindPluginFiles(const std::vector<std::string>& folders);

/// The part of a path behind the last slash.
std::string_view FileNameOf(std::string_view path);

} // namespace Tavix::plugin
