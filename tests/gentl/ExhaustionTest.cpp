// What cannot have a handle is given back whole.

#include "gentl/Handles.h"
#include "gentl/support/FirstCamera.h"

#include <memory>
#include <vector>

namespace {

/// Takes all handles that are left, and gives back what it still has at its end.
class NoHandles {
public:
    NoHandles() {
        while (gentl::Guarded([this] { Take(); }) == GC_ERR_SUCCESS) {
        }
    }
    ~NoHandles() {
        while (!m_Taken.empty())
            GiveOneBack();
    }
    void GiveOneBack() {
        m_Taken.back()->End();
        m_Taken.pop_back();
    }

private:
    class Taken final : public gentl::Object {
    public:
        Taken() : Object(gentl::Kind::Event) {}
        void End() { Unregister(); }
    };
    void Take() {
        auto taken = std::make_shared<Taken>();
        taken->Register();
        m_Taken.push_back(std::move(taken));
    }
    std::vector<std::shared_ptr<Taken>> m_Taken;
};

using Exhaustion = inside::OnFirstCamera;

TEST_F(Exhaustion, OfHandlesLeavesNothingHalfOpen) {
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "a million objects take sanitizers minutes";
#endif
    NoHandles handles;
    EXPECT_EQ(OpenDevice(), GC_ERR_RESOURCE_EXHAUSTED);
    handles.GiveOneBack();
    EXPECT_EQ(OpenDevice(), GC_ERR_RESOURCE_EXHAUSTED) << "its port has a handle, too";
    handles.GiveOneBack();
    ASSERT_EQ(OpenDevice(), GC_ERR_SUCCESS);

    EXPECT_EQ(RegisterEvent(m_Device, EVENT_REMOTE_DEVICE), GC_ERR_RESOURCE_EXHAUSTED);
    handles.GiveOneBack();
    EXPECT_EQ(RegisterEvent(m_Device, EVENT_REMOTE_DEVICE), GC_ERR_SUCCESS);

    EXPECT_EQ(OpenStream(), GC_ERR_RESOURCE_EXHAUSTED);
    handles.GiveOneBack();
    ASSERT_EQ(OpenStream(), GC_ERR_SUCCESS);

    BUFFER_HANDLE buffer = nullptr;
    EXPECT_EQ(DSAnnounceBuffer(m_Stream, m_Id, sizeof m_Id, nullptr, &buffer), GC_ERR_RESOURCE_EXHAUSTED);
    handles.GiveOneBack();
    EXPECT_EQ(DSAnnounceBuffer(m_Stream, m_Id, sizeof m_Id, nullptr, &buffer), GC_ERR_SUCCESS);
    EXPECT_EQ(RegisterEvent(m_Stream, EVENT_NEW_BUFFER), GC_ERR_RESOURCE_EXHAUSTED);
    handles.GiveOneBack();
    EXPECT_EQ(RegisterEvent(m_Stream, EVENT_NEW_BUFFER), GC_ERR_SUCCESS);
}

} // namespace
