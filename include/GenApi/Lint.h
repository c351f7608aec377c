#pragma once
// What is wrong or doubtful in a description file.

#include <Base/GCString.h>
#include <GenApi/Export.h>

#include <cstdint>
#include <vector>

namespace GenApi {

/// Error: something that the description promises cannot work. Warning: against the schema, or a likely mistake, but
/// usable. Note: worth a look.
enum class ELintSeverity : uint8_t { Error, Warning, Note };

struct LintFinding {
    ELintSeverity Severity = ELintSeverity::Error;
    GenICam::gcstring Rule;   ///< of what kind, in short and always the same: "dangling-link"
    uint32_t Line = 0;        ///< 0: unknown
    GenICam::gcstring Node;   ///< possibly empty
    GenICam::gcstring Text;   ///< what is wrong
    GenICam::gcstring Advice; ///< what to do
};

/// All that is found in the file, which may be an archive, in the order of its text. Throws GenICam::RuntimeException
/// when it holds no description at all. Re-entrant.
[[nodiscard]] TAVIX_GENAPI_API std::vector<LintFinding> LintDescriptionFile(const GenICam::gcstring& path);

} // namespace GenApi
