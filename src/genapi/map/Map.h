#pragma once
// A node map: its nodes by name and number, and what concerns all of them.

#include "genapi/description/Description.h"
#include "genapi/map/Arena.h"
#include "genapi/nodes/base/Node.h"

#include <array>
#include <string>
#include <vector>

namespace genapi {

/// What happens to a node whose description is faulty.
enum class Strictness : uint8_t {
    Throw,  ///< maps built in code: the author is there to put it right
    Report, ///< descriptions of cameras: the node reports it when used, the others are not touched
};

/// Nodes come in through one door, be they described in a text or in code: AddNode and properties by name and value,
/// then Finalise. Bound to a thread until then, thread-safe through Lock afterwards.
class Map final : public NodeHost {
public:
    explicit Map(const GenICam::gcstring& deviceName);
    ~Map() override;

    // Construction.
    void SetFacade(GenApi::INodeMap* pFacade) { m_pFacade = pFacade; }
    void SetInfo(MapProperty property, std::string_view value);
    /// RuntimeException when the name is taken or the map is finished.
    Node& AddNode(NodeType type, std::string_view name, bool isStandard);
    /// PropertyException for what the type does not have or a malformed value; replaces or appends.
    void AddProperty(Node& node, const PropertyRecord& record);
    void FinishNode(Node& node);
    void Finalise(std::string_view root, Strictness strictness);
    /// All of it at once; the map takes the texts over. RuntimeException when it has nodes already.
    void Load(Description description);

    // Use.
    GenICam::gcstring DeviceName() const override { return m_DeviceName; }
    Node* Find(std::string_view name) const override;
    std::string_view Info(MapProperty property) const { return m_Info[static_cast<std::size_t>(property)]; }
    const std::vector<LoadProblem>& Problems() const { return m_Problems; }
    void InvalidateAll();
    void Poll(int64_t elapsed);
    bool Connect(GenApi::IPort* pPort, std::string_view portName);
    /// The failures of all formulas.
    std::vector<std::string> CheckFormulas();

private:
    friend class Linker;
    struct Polled {
        Node* pNode;
        int64_t period; ///< 0: at every poll
        int64_t elapsed;
    };
    struct Draft {
        std::vector<PropertyRecord> properties;
        bool isFinished = false;
    };

    void TakeDrafts();
    bool IsDue(Polled& polled, int64_t elapsed);
    void PollNode(ChangeFrame& frame, Node& node, std::vector<NodeIndex>& changed);

    GenICam::gcstring m_DeviceName;
    std::array<std::string_view, kMapPropertyNames.size()> m_Info{};
    Arena m_Arena;
    Description m_Description; ///< texts and records of a loaded map
    NameIndex m_Names;
    std::vector<Draft> m_Drafts;              ///< by node, empty once finished
    std::vector<PropertyRecord> m_Properties; ///< of a map built in code
    std::vector<LoadProblem> m_Problems;
    std::vector<Polled> m_Polled TAVIX_GUARDED_BY(Lock());
    bool m_IsFinished = false;
};

} // namespace genapi
