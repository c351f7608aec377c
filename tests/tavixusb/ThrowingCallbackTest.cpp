// Callbacks of the application that throw while the grabbers change their state.

#include "support/StreamGrabberFixture.h"

#include <GenApi/NodeCallback.h>

#include <stdexcept>

namespace {

/// Throws whenever the node changes, as long as it lives.
class Thrower {
public:
    explicit Thrower(GenApi::INode* node)
        : m_Handle(GenApi::Register(node, [](GenApi::INode*) { throw std::runtime_error("not now"); })) {}
    ~Thrower() { GenApi::Deregister(m_Handle); }
    Thrower(const Thrower&) = delete;
    Thrower& operator=(const Thrower&) = delete;

private:
    GenApi::CallbackHandleType m_Handle;
};

class ThrowingCallback : public StreamGrabber {
protected:
    GenApi::INode* Lock() { return device->GetNodeMap()->GetNode("TLParamsLocked"); }
    GenApi::INode* State() { return grabber().GetNodeMap()->GetNode("StatusReg"); }
    bool IsLocked() { return bus.memory[0x200] != 0; }
};

TEST_F(ThrowingCallback, LeavesTheCameraUnlockedWhenAGrabCannotBegin) {
    OpenGrabber();
    {
        const Thrower thrower(Lock());
        EXPECT_THROW(grabber().PrepareGrab(), std::runtime_error);
    }
    EXPECT_FALSE(IsLocked());
    EXPECT_FALSE(bus.stream.prepared);
    EXPECT_EQ("Open", Status());
    grabber().PrepareGrab();
    EXPECT_TRUE(IsLocked());
}

TEST_F(ThrowingCallback, LeavesNoGrabBehindWhoseBeginningFailed) {
    OpenGrabber();
    {
        const Thrower thrower(State());
        EXPECT_THROW(grabber().PrepareGrab(), std::runtime_error);
    }
    EXPECT_FALSE(IsLocked());
    EXPECT_FALSE(bus.stream.prepared);
    EXPECT_EQ("Open", Status());
    grabber().PrepareGrab();
}

TEST_F(ThrowingCallback, DoesNotKeepAGrabFromItsEnd) {
    Prepare();
    {
        const Thrower thrower(State());
        EXPECT_THROW(grabber().FinishGrab(), std::runtime_error);
    }
    EXPECT_FALSE(IsLocked());
    EXPECT_FALSE(bus.stream.prepared);
    grabber().PrepareGrab();
}

TEST_F(ThrowingCallback, LeavesTheStreamClosedThatCouldNotBeOpened) {
    Open();
    {
        const Thrower thrower(State());
        EXPECT_THROW(grabber().Open(), std::runtime_error);
    }
    EXPECT_FALSE(grabber().IsOpen());
    EXPECT_FALSE(bus.stream.open);
    grabber().Open();
}

TEST_F(ThrowingCallback, LeavesTheEventStreamClosedThatCouldNotBeOpened) {
    Open();
    Tavix::IEventGrabber& events = *device->GetEventGrabber();
    {
        const Thrower thrower(events.GetNodeMap()->GetNode("StatusReg"));
        EXPECT_THROW(events.Open(), std::runtime_error);
    }
    EXPECT_FALSE(events.IsOpen());
    EXPECT_FALSE(bus.eventStream.open);
    events.Open();
}

} // namespace
