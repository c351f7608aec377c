#pragma once
// The table that says which folder belongs to which library, and who may include whom.

#include <istream>
#include <string>
#include <string_view>
#include <vector>

namespace layers {

struct Layer {
    std::string name;
    std::vector<std::string> folders;    // from the root of the tree; a single file counts as one
    std::vector<std::string> mayInclude; // libraries of the table and of others
};

// re-entrant
class LayerTable {
public:
    // One library a line: name, folders, a colon, what it may include. '#' begins a comment.
    // Throws std::runtime_error, naming the line, for a line of another form, a library or folder that appears twice,
    // and an arrow to a library that nobody knows.
    explicit LayerTable(std::istream& text);

    const std::vector<Layer>& GetLayers() const { return m_Layers; }

    // Whose file this is, by its path from the root of the tree; the longest folder wins. Null if nobody's.
    const Layer* FindByPath(std::string_view path) const;
    // Whose header this is, as include lines name it: by its path from include/, from src/ or from the root.
    const Layer* FindByIncludeName(std::string_view name) const;

    // Names of libraries that can reach themselves by arrows.
    std::vector<std::string> FindCircles() const;

private:
    const Layer* FindByName(std::string_view name) const;

    std::vector<Layer> m_Layers; // constant after construction
};

// The word that the table uses for the library outside the project which has this header. Empty for the language's and
// the system's own headers, "?" for a header that neither of them has.
std::string OutsideLibraryOf(std::string_view header);

bool MayInclude(const Layer& layer, std::string_view library);

} // namespace layers
