#pragma once
// Who is there: browsers, cameras, open cameras; and who of the browsers steers.

#include "viewer/Viewer.h"
#include "viewer/Worker.h"
#include "viewer/room/Room.h"
#include "viewer/server/Client.h"

#include <tavix/camera/CameraInfo.h>

#include <functional>
#include <map>
#include <memory>
#include <string>

namespace viewer {

/// Bound to the server's thread, but for what Outlet promises.
class Hub final : public Outlet {
public:
    /// `post` has a task done by the server's thread, unless that has ended.
    Hub(const ViewerOptions& options, std::function<void(std::function<void()>)> post,
        std::function<std::string()> makeInvitation);
    ~Hub() override;

    void Join(Client& client);
    void Leave(std::uint64_t client);
    void Receive(std::uint64_t client, std::string_view text);
    /// Every half second.
    void Tick();

    void Tell(Json message) override;
    void Answer(std::uint64_t client, Json message) override;
    void Show(std::uint64_t client, std::string image) override;

private:
    using RoomPtr = std::shared_ptr<Room>;
    using Work = std::function<Json(Room&)>;

    void Broadcast(const Json& message);
    void Reply(std::uint64_t client, std::uint64_t request, Json answer);
    void Refuse(std::uint64_t client, std::uint64_t request, const std::string& why);
    void Obey(std::uint64_t client, const Request& request);
    bool ObeyByHub(std::uint64_t client, const Request& request);
    bool ObeyByLive(std::uint64_t client, const Request& request);
    Work WorkOf(const Request& request) const;
    void InRoom(std::uint64_t client, const Request& request, const RoomPtr& room, Work work);
    void AtDesk(std::uint64_t client, const Request& request, std::function<Json()> work);
    void Open(std::uint64_t client, const Request& request);
    void Close(const std::string& key);
    void Steer(std::uint64_t client);
    void OnCamera(const Tavix::CameraInfo& info, bool arrived);
    std::string KeyOf(const Tavix::CameraInfo& info) const;
    RoomPtr RoomOf(const std::string& key) const;
    Json CameraList() const;
    Json Describe(const Tavix::CameraInfo& info, bool isAway) const;
    void TellCameras();

    const ViewerOptions m_Options;
    const std::function<void(std::function<void()>)> m_Post;
    const std::function<std::string()> m_MakeInvitation;
    std::map<std::uint64_t, Client*> m_Clients; // borrowed
    std::uint64_t m_Steering = 0;
    std::map<std::string, Tavix::CameraInfo> m_Cameras; // by path
    std::map<std::string, Tavix::CameraInfo> m_Pulled;  // virtual ones that can be plugged in again, by GUID
    std::map<std::string, RoomPtr> m_Rooms;             // by key
    std::map<std::string, Json> m_RoomStates;           // what was told last of each
    Worker m_Desk;                                      // for what no room does
    std::unique_ptr<Tavix::CameraWatch> m_Watch;
};

} // namespace viewer
