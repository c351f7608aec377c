#include "camera/Failure.h"
#include "camera/device/CameraCore.h"

#include <tavix/Device.h>
#include <tavix/camera/Camera.h>

#include <GenApi/GenApi.h>

namespace Tavix {
namespace {

/// What people read, set or execute, if the camera implements it.
bool IsListed(GenApi::INode& node) {
    const bool isCategory = node.GetPrincipalInterfaceType() == GenApi::intfICategory;
    return node.IsFeature() && !isCategory && dynamic_cast<GenApi::IValue*>(&node) != nullptr;
}

} // namespace

Camera::Camera(std::shared_ptr<detail::CameraCore> core) : m_Core(std::move(core)) {}
Camera::Camera(Camera&&) noexcept = default;

Camera& Camera::operator=(Camera&& other) noexcept {
    if (this == &other) return *this;
    if (m_Core) detail::Attempt("Closing a camera", [&] { m_Core->Close(); });
    m_Core = std::move(other.m_Core);
    return *this;
}

Camera::~Camera() {
    if (m_Core) detail::Attempt("Closing a camera", [&] { m_Core->Close(); });
}

Camera Camera::Open(const std::string& name) {
    return Open(FindCamera(name));
}

Camera Camera::Open(const CameraInfo& info) {
    return Camera(detail::CameraCore::Open(info));
}

detail::CameraCore& Camera::Checked() const {
    if (!m_Core) throw StateError("the camera was moved away");
    return *m_Core;
}

void Camera::Close() {
    if (m_Core) m_Core->Close();
}

bool Camera::IsOpen() const {
    return m_Core && m_Core->IsOpen();
}

CameraInfo Camera::Info() const {
    return Checked().Info();
}

Feature Camera::operator[](const std::string& name) const {
    return Checked().Find(name);
}

bool Camera::HasFeature(const std::string& name) const {
    return dynamic_cast<GenApi::IValue*>(Checked().Hold()->Nodes().GetNode(GenICam::gcstring(name))) != nullptr;
}

std::vector<Feature> Camera::Features() const {
    const std::shared_ptr<detail::OpenDevice> device = Checked().Hold();
    GenApi::NodeList_t nodes;
    device->Nodes().GetNodes(nodes);
    std::vector<Feature> features;
    try {
        for (GenApi::INode* node : nodes)
            if (IsListed(*node) && GenApi::IsImplemented(node->GetAccessMode()))
                features.push_back(m_Core->Make(detail::Text(node->GetName())));
    } catch (const GenICam::GenericException& e) {
        if (device->HasGone()) throw Removed(device->Name() + " is unplugged");
        detail::RethrowAsError("cannot list the features of " + device->Name() + ": ");
    }
    return features;
}

std::vector<std::string> Camera::FeatureNames() const {
    GenApi::NodeList_t nodes;
    Checked().Hold()->Nodes().GetNodes(nodes);
    std::vector<std::string> names;
    for (GenApi::INode* node : nodes)
        if (IsListed(*node)) names.push_back(detail::Text(node->GetName()));
    return names;
}

ImageStream Camera::Grab(std::uint64_t count) {
    GrabOptions options;
    options.count = count;
    return Grab(options);
}

ImageStream Camera::Grab(const GrabOptions& options) {
    Checked();
    return ImageStream::Begin(m_Core, options, {});
}

ImageStream Camera::Grab(const GrabOptions& options, std::function<void(Image)> callback) {
    Checked();
    detail::RequireCallback(callback);
    return ImageStream::Begin(m_Core, options, std::move(callback));
}

Subscription Camera::OnEvent(const std::string& name, std::function<void(const CameraEvent&)> callback) {
    detail::RequireCallback(callback);
    return Checked().OnEvent(name, std::move(callback));
}

Subscription Camera::OnRemoval(std::function<void(bool isBack)> callback) {
    detail::RequireCallback(callback);
    return Checked().OnRemoval(std::move(callback));
}

HostTime Camera::ToHostTime(std::uint64_t cameraTime) const {
    return Checked().Clock()->TimeOf(cameraTime);
}

ITavixDevice& Camera::Device() const {
    return Checked().Hold()->Device();
}

GenApi::INodeMap& Camera::Nodes() const {
    return Checked().Hold()->Nodes();
}

} // namespace Tavix
