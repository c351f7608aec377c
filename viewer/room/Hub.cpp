#include "viewer/room/Hub.h"

#include "core/Printable.h"
#include "viewer/room/VirtualCameras.h"

#include <algorithm>
#include <utility>

namespace viewer {
namespace {

using Tavix::CameraInfo;
using Tavix::Printable;

constexpr std::size_t kMostRooms = 16;

bool IsVirtual(const std::string& path) {
    return path.rfind("virtual:", 0) == 0;
}

} // namespace

Hub::Hub(const ViewerOptions& options, std::function<void(std::function<void()>)> post,
         std::function<std::string()> makeInvitation)
    : m_Options(options), m_Post(std::move(post)), m_MakeInvitation(std::move(makeInvitation)), m_Desk("view-desk") {
    m_Watch = std::make_unique<Tavix::CameraWatch>([this](const Tavix::CameraInfo& info, bool arrived) {
        m_Post([this, info, arrived] { OnCamera(info, arrived); });
    });
}

Hub::~Hub() {
    m_Watch.reset();
    m_Rooms.clear();
}

// --- browsers

void Hub::Join(Client& client) {
    m_Clients[client.Id()] = &client;
    if (m_Steering == 0) m_Steering = client.Id();
    Json rooms = Json::array();
    for (const auto& [key, state] : m_RoomStates)
        rooms.push_back(state);
    client.SendText(std::make_shared<std::string>(Dump({{"event", "welcome"},
                                                        {"you", client.Id()},
                                                        {"steers", m_Steering},
                                                        {"cameras", CameraList()},
                                                        {"rooms", rooms},
                                                        {"canExamine", static_cast<bool>(m_Options.examine)}})));
}

void Hub::Leave(std::uint64_t client) {
    m_Clients.erase(client);
    for (const auto& [key, room] : m_Rooms) {
        room->Live().DropView(client);
        room->Watch(client, {});
    }
    if (m_Steering == client) Steer(m_Clients.empty() ? 0 : m_Clients.begin()->first);
}

void Hub::Steer(std::uint64_t client) {
    m_Steering = client;
    Broadcast({{"event", "steering"}, {"steers", client}});
}

void Hub::Receive(std::uint64_t client, std::string_view text) {
    std::uint64_t id = 0;
    std::string why;
    const std::optional<Request> request = ParseRequest(text, id, why);
    if (!request) return Refuse(client, id, why);
    if (request->command->steers && m_Steering != client)
        return Refuse(client, id, "another browser steers; take over first");
    try {
        Obey(client, *request);
    } catch (const std::exception& e) {
        Refuse(client, id, e.what());
    }
}

void Hub::Tick() {
    if (m_Clients.empty()) return;
    for (const auto& [key, room] : m_Rooms)
        room->Tick();
}

// --- telling

void Hub::Broadcast(const Json& message) {
    if (message.value("event", "") == "room") m_RoomStates[message.value("camera", "")] = message;
    const auto text = std::make_shared<const std::string>(Dump(message));
    for (const auto& [id, client] : std::map<std::uint64_t, Client*>(m_Clients))
        if (m_Clients.count(id) != 0) client->SendText(text);
}

void Hub::Tell(Json message) {
    m_Post([this, message = std::move(message)] {
        const std::string key = message.value("camera", "");
        if (!key.empty() && !RoomOf(key)) return; // it was closed meanwhile
        Broadcast(message);
    });
}

void Hub::Answer(std::uint64_t client, Json message) {
    m_Post([this, client, message = std::move(message)] {
        const auto found = m_Clients.find(client);
        if (found != m_Clients.end()) found->second->SendText(std::make_shared<std::string>(Dump(message)));
    });
}

void Hub::Show(std::uint64_t client, std::string image) {
    auto message = std::make_shared<const std::string>(std::move(image));
    m_Post([this, client, message] {
        const auto found = m_Clients.find(client);
        if (found != m_Clients.end()) found->second->SendImage(message);
    });
}

void Hub::Reply(std::uint64_t client, std::uint64_t request, Json answer) {
    if (!answer.is_object()) answer = {{"answer", std::move(answer)}};
    answer["re"] = request;
    Answer(client, std::move(answer));
}

void Hub::Refuse(std::uint64_t client, std::uint64_t request, const std::string& why) {
    Answer(client, {{"re", request}, {"error", Printable(why)}});
}

// --- cameras

std::string Hub::KeyOf(const Tavix::CameraInfo& info) const {
    const auto sameGuid = std::count_if(m_Cameras.begin(), m_Cameras.end(),
                                        [&](const auto& camera) { return camera.second.guid == info.guid; });
    return info.guid.empty() || sameGuid > 1 ? info.path : info.guid;
}

void Hub::OnCamera(const Tavix::CameraInfo& info, bool arrived) {
    if (arrived) {
        m_Cameras[info.path] = info;
        m_Pulled.erase(info.guid);
    } else if (const auto known = m_Cameras.find(info.path); known != m_Cameras.end()) {
        if (IsVirtual(info.path)) m_Pulled[known->second.guid] = known->second;
        m_Cameras.erase(known);
    }
    TellCameras();
    const RoomPtr room = arrived ? RoomOf(KeyOf(info)) : nullptr;
    if (room) room->Post([info](Room& self) { self.Reopen(info); });
}

Json Hub::CameraList() const {
    Json list = Json::array();
    for (const auto& [path, info] : m_Cameras)
        list.push_back(Describe(info, /*isAway=*/false));
    for (const auto& [guid, info] : m_Pulled)
        list.push_back(Describe(info, /*isAway=*/true));
    return list;
}

Json Hub::Describe(const CameraInfo& info, bool isAway) const {
    return {{"key", KeyOf(info)},
            {"name", Printable(info.userName.empty() ? info.friendlyName : info.userName)},
            {"model", Printable(info.model)},
            {"vendor", Printable(info.vendor)},
            {"serial", Printable(info.serial)},
            {"path", Printable(info.path)},
            {"speed", Printable(info.speed)},
            {"isVirtual", IsVirtual(info.path)},
            {"isAway", isAway}};
}

void Hub::TellCameras() {
    Broadcast({{"event", "cameras"}, {"cameras", CameraList()}});
}

Hub::RoomPtr Hub::RoomOf(const std::string& key) const {
    const auto found = m_Rooms.find(key);
    return found == m_Rooms.end() ? nullptr : found->second;
}

void Hub::Open(std::uint64_t client, const Request& request) {
    const std::string key = request.Text("camera");
    if (RoomOf(key)) return Reply(client, request.id, Json::object());
    const auto found = std::find_if(m_Cameras.begin(), m_Cameras.end(),
                                    [&](const auto& camera) { return KeyOf(camera.second) == key; });
    if (found == m_Cameras.end()) throw std::runtime_error("this camera is not there any more");
    if (m_Rooms.size() >= kMostRooms) throw std::runtime_error("16 cameras are open; close one first");
    const Tavix::CameraInfo info = found->second;
    const auto room = std::make_shared<Room>(key, Printable(info.friendlyName), *this);
    m_Rooms[key] = room;
    room->Post([this, info, client, key, id = request.id](Room& self) {
        try {
            self.Open(info);
            Reply(client, id, Json::object());
        } catch (const std::exception& e) {
            Refuse(client, id, e.what());
            m_Post([this, key] { Close(key); });
        }
    });
}

/// Ending a camera may take its time, so that is done elsewhere.
void Hub::Close(const std::string& key) {
    RoomPtr room = RoomOf(key);
    m_Rooms.erase(key);
    m_RoomStates.erase(key);
    if (room) m_Desk.Post([room = std::move(room)]() mutable { room.reset(); });
    Broadcast({{"event", "closed"}, {"camera", key}});
}

} // namespace viewer
