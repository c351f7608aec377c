// What a feature is.
#include "camera/Failure.h"
#include "camera/feature/NodeAccess.h"

#include <GenApi/Why.h>

namespace Tavix {
namespace {

using detail::NodeAccess;

FeatureType TypeOf(GenApi::EInterfaceType type) {
    switch (type) {
    case GenApi::intfIInteger:
        return FeatureType::Integer;
    case GenApi::intfIFloat:
        return FeatureType::Float;
    case GenApi::intfIBoolean:
        return FeatureType::Boolean;
    case GenApi::intfIEnumeration:
        return FeatureType::Enumeration;
    case GenApi::intfICommand:
        return FeatureType::Command;
    case GenApi::intfIRegister:
        return FeatureType::Register;
    case GenApi::intfICategory:
        return FeatureType::Category;
    default:
        return FeatureType::Text;
    }
}

GenApi::IInteger& IntegerOf(const NodeAccess& access) {
    if (access.Type() != GenApi::intfIInteger) access.ThrowWrongType("whole number");
    return *access.As<GenApi::IInteger>();
}

template<class OfInteger, class OfFloat>
double LimitOf(const NodeAccess& access, OfInteger ofInteger, OfFloat ofFloat) {
    return access.Ask([&]() -> double {
        if (access.Type() == GenApi::intfIFloat) return ofFloat(*access.As<GenApi::IFloat>());
        if (access.Type() != GenApi::intfIInteger) access.ThrowWrongType("number");
        return static_cast<double>(ofInteger(*access.As<GenApi::IInteger>()));
    });
}

} // namespace

Feature::Feature(std::shared_ptr<detail::FeatureSource> source, std::string name)
    : m_Source(std::move(source)), m_Name(std::move(name)) {}

const std::string& Feature::Name() const {
    return m_Name;
}

FeatureType Feature::Type() const {
    return TypeOf(NodeAccess(*m_Source, m_Name).Type());
}

FeatureLevel Feature::Level() const {
    const NodeAccess access(*m_Source, m_Name);
    return access.Ask([&] {
        const GenApi::EVisibility visibility = access.Node().GetVisibility();
        return visibility <= GenApi::Invisible ? static_cast<FeatureLevel>(visibility) : FeatureLevel::Invisible;
    });
}

std::string Feature::DisplayName() const {
    const NodeAccess access(*m_Source, m_Name);
    return access.Ask([&] { return detail::Text(access.Node().GetDisplayName()); });
}

std::string Feature::Description() const {
    const NodeAccess access(*m_Source, m_Name);
    return access.Ask([&] {
        const std::string text = detail::Text(access.Node().GetDescription());
        return text.empty() ? detail::Text(access.Node().GetToolTip()) : text;
    });
}

std::string Feature::Unit() const {
    const NodeAccess access(*m_Source, m_Name);
    return access.Ask([&]() -> std::string {
        if (access.Type() == GenApi::intfIFloat) return detail::Text(access.As<GenApi::IFloat>()->GetUnit());
        if (access.Type() == GenApi::intfIInteger) return detail::Text(access.As<GenApi::IInteger>()->GetUnit());
        return {};
    });
}

bool Feature::IsAvailable() const {
    const NodeAccess access(*m_Source, m_Name);
    return access.Ask([&] { return GenApi::IsAvailable(access.Node().GetAccessMode()); });
}

bool Feature::IsReadable() const {
    const NodeAccess access(*m_Source, m_Name);
    return access.Ask([&] { return GenApi::IsReadable(access.Node().GetAccessMode()); });
}

bool Feature::IsWritable() const {
    const NodeAccess access(*m_Source, m_Name);
    return access.Ask([&] { return GenApi::IsWritable(access.Node().GetAccessMode()); });
}

bool Feature::IsSetting() const {
    const NodeAccess access(*m_Source, m_Name);
    return access.Ask([&] { return access.Node().IsStreamable(); });
}

std::string Feature::WhyNot() const {
    const NodeAccess access(*m_Source, m_Name);
    return access.Ask([&] { return detail::Text(GenApi::ExplainAccess(&access.Node())); });
}

double Feature::Min() const {
    return LimitOf(
        NodeAccess(*m_Source, m_Name), [](GenApi::IInteger& i) { return i.GetMin(); },
        [](GenApi::IFloat& f) { return f.GetMin(); });
}

double Feature::Max() const {
    return LimitOf(
        NodeAccess(*m_Source, m_Name), [](GenApi::IInteger& i) { return i.GetMax(); },
        [](GenApi::IFloat& f) { return f.GetMax(); });
}

double Feature::Increment() const {
    return LimitOf(
        NodeAccess(*m_Source, m_Name), [](GenApi::IInteger& i) { return i.GetInc(); },
        [](GenApi::IFloat& f) { return f.HasInc() ? f.GetInc() : 0.0; });
}

std::int64_t Feature::IntMin() const {
    const NodeAccess access(*m_Source, m_Name);
    return access.Ask([&] { return IntegerOf(access).GetMin(); });
}

std::int64_t Feature::IntMax() const {
    const NodeAccess access(*m_Source, m_Name);
    return access.Ask([&] { return IntegerOf(access).GetMax(); });
}

std::int64_t Feature::IntIncrement() const {
    const NodeAccess access(*m_Source, m_Name);
    return access.Ask([&] { return IntegerOf(access).GetInc(); });
}

std::vector<std::string> Feature::Entries(bool all) const {
    const NodeAccess access(*m_Source, m_Name);
    auto* enumeration = access.As<GenApi::IEnumeration>();
    if (!enumeration) access.ThrowWrongType("enumeration");
    return access.Ask([&] {
        GenApi::NodeList_t nodes;
        enumeration->GetEntries(nodes);
        std::vector<std::string> names;
        for (GenApi::INode* node : nodes) {
            auto* entry = dynamic_cast<GenApi::IEnumEntry*>(node);
            if (entry && (all || GenApi::IsAvailable(node->GetAccessMode())))
                names.push_back(detail::Text(entry->GetSymbolic()));
        }
        return names;
    });
}

std::vector<Feature> Feature::Children() const {
    const NodeAccess access(*m_Source, m_Name);
    auto* category = access.As<GenApi::ICategory>();
    if (!category) access.ThrowWrongType("category");
    GenApi::FeatureList_t values;
    access.Ask([&] { category->GetFeatures(values); });
    std::vector<Feature> children;
    for (GenApi::IValue* value : values)
        children.push_back(m_Source->Make(detail::Text(value->GetNode()->GetName())));
    return children;
}

Subscription Feature::OnChange(std::function<void(const Feature&)> callback) const {
    detail::RequireCallback(callback);
    const NodeAccess access(*m_Source, m_Name); // NotFound now rather than never a call
    return m_Source->Watch(m_Name, std::move(callback));
}

GenApi::INode& Feature::Node() const {
    return NodeAccess(*m_Source, m_Name).Node();
}

} // namespace Tavix
