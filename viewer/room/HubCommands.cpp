// What each request has done.
#include "viewer/room/Hub.h"

#include "viewer/room/VirtualCameras.h"

#include <stdexcept>
#include <utility>

namespace viewer {
namespace {

Json ToJson(const std::vector<Finding>& findings) {
    Json list = Json::array();
    for (const Finding& finding : findings) {
        list.push_back({{"severity", finding.severity},
                        {"about", finding.about},
                        {"text", finding.text},
                        {"command", finding.command}});
    }
    return {{"findings", list}};
}

/// A task that answers nothing.
template<class Task>
std::function<Json(Room&)> Silent(Task task) {
    return [task](Room& room) {
        task(room);
        return Json::object();
    };
}

} // namespace

void Hub::Obey(std::uint64_t client, const Request& request) {
    if (ObeyByHub(client, request)) return;
    const RoomPtr room = RoomOf(request.Text("camera"));
    if (!room) throw std::runtime_error("this camera is not open");
    if (ObeyByLive(client, request)) return;
    Work work = WorkOf(request);
    if (!work) throw std::runtime_error("this is not understood");
    InRoom(client, request, room, std::move(work));
}

bool Hub::ObeyByHub(std::uint64_t client, const Request& request) {
    const std::string name = request.command->name;
    if (name == "take") {
        Steer(client);
        Reply(client, request.id, Json::object());
    } else if (name == "invite") {
        Reply(client, request.id, {{"address", m_MakeInvitation()}});
    } else if (name == "open") {
        Open(client, request);
    } else if (name == "close") {
        Close(request.Text("camera"));
        Reply(client, request.id, Json::object());
    } else if (name == "doctor") {
        if (!m_Options.examine) throw std::runtime_error("there is no doctor here");
        AtDesk(client, request, [examine = m_Options.examine] { return ToJson(examine()); });
    } else if (name == "faults") {
        AtDesk(client, request, [] { return Json{{"faults", AskVirtualCameras({{"list", true}})}}; });
    } else if (name == "virtual") {
        AtDesk(client, request, [what = request.fields["request"]] { return AskVirtualCameras(what); });
    } else {
        return false;
    }
    return true;
}

/// What needs no camera, and must not wait for one.
bool Hub::ObeyByLive(std::uint64_t client, const Request& request) {
    const std::string name = request.command->name;
    const RoomPtr room = RoomOf(request.Text("camera"));
    if (name == "shown") {
        room->Live().Shown(client, static_cast<std::uint64_t>(std::max(0.0, request.Number("number"))));
        return true; // without an answer: the next image is one
    }
    if (name == "view")
        room->Live().SetView(client, ReadView(request));
    else if (name == "unview")
        room->Live().DropView(client);
    else if (name == "watch")
        room->Watch(client, request.Texts("names"));
    else
        return false;
    Reply(client, request.id, Json::object());
    return true;
}

Hub::Work Hub::WorkOf(const Request& request) const {
    const std::string name = request.command->name;
    const std::string feature = request.Text("name"), text = request.Text("text");
    if (name == "features") return [](Room& room) { return room.Features(); };
    if (name == "set") {
        return [feature, value = request.Text("value"), nearest = request.Flag("nearest")](Room& room) {
            return room.Set(feature, value, nearest);
        };
    }
    if (name == "execute") return [feature](Room& room) { return room.Execute(feature); };
    if (name == "start") return Silent([](Room& room) { room.Start(); });
    if (name == "stop") return Silent([](Room& room) { room.Stop(); });
    if (name == "single") return Silent([](Room& room) { room.Single(); });
    if (name == "trigger") return Silent([](Room& room) { room.Trigger(); });
    if (name == "region") {
        const Tavix::imaging::Region region{request.Count("x"), request.Count("y"), request.Count("width"),
                                            request.Count("height")};
        return [region](Room& room) { return room.SetRegion(region); };
    }
    if (name == "record") {
        RecordOptions options{m_Options.folder, feature, request.Text("format"), request.Count("count")};
        return Silent([options](Room& room) { room.Record(options); });
    }
    if (name == "endRecord") return Silent([](Room& room) { room.EndRecord(); });
    if (name == "events") return Silent([on = request.Flag("on")](Room& room) { room.ListenToEvents(on); });
    if (name == "settings") return [](Room& room) { return room.Settings(); };
    if (name == "apply") return [text](Room& room) { return room.Apply(text); };
    if (name == "compare") return [text](Room& room) { return room.Compare(text); };
    return nullptr;
}

void Hub::InRoom(std::uint64_t client, const Request& request, const RoomPtr& room, Work work) {
    const bool isTaken = room->Post([this, client, id = request.id, work = std::move(work)](Room& self) {
        try {
            Reply(client, id, work(self));
        } catch (const std::exception& e) {
            Refuse(client, id, e.what());
        }
    });
    if (!isTaken) throw std::runtime_error("the camera is busy; try again in a moment");
}

void Hub::AtDesk(std::uint64_t client, const Request& request, std::function<Json()> work) {
    const bool isTaken = m_Desk.Post([this, client, id = request.id, work = std::move(work)] {
        try {
            Reply(client, id, work());
        } catch (const std::exception& e) {
            Refuse(client, id, e.what());
        }
    });
    if (!isTaken) throw std::runtime_error("too much is asked at once; try again in a moment");
}

} // namespace viewer
