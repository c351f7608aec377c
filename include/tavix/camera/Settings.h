#pragma once
// All settings of a camera, as text.

#include "tavix/camera/Export.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Tavix {

/// One feature whose values differ; empty where one side does not have it.
struct SettingDifference {
    std::string name;
    std::string left;
    std::string right;
};

/// A setting that a camera did not take or, without its value, did not tell, and why.
struct RefusedSetting {
    std::string name;
    std::string value;
    std::string reason;
};

/// Settings in the order in which they are applied. The file has lines "Name<TAB>Value" and comments that begin with #;
/// features below selectors appear once for each value of the selector, behind a line that sets it. Re-entrant.
class TAVIX_CAMERA_API Settings {
public:
    struct Line {
        std::string name;
        std::string value;
    };

    /// Error when the file cannot be read.
    static Settings FromFile(const std::string& path);
    /// Error for a line that is none.
    static Settings FromText(const std::string& text);
    /// Error when the file cannot be written, and then an older file stands as it was.
    void Save(const std::string& path) const;
    std::string Text() const;

    const std::vector<Line>& Lines() const { return m_Lines; }
    void Add(const std::string& name, const std::string& value) { m_Lines.push_back({name, value}); }
    /// What is different in another one, whatever the order of the lines. A feature below a selector is named with it:
    /// "Gain[GainSelector=Red]".
    std::vector<SettingDifference> Compare(const Settings& other) const;

private:
    std::vector<Line> m_Lines;
};

} // namespace Tavix
