// An application written for older feature names works with a camera that has the present ones.
#include "Session.h"

#include <string>

namespace {

std::string Describe(GenApi::INode* node) {
    return node ? node->GetName().c_str() : "(no such feature)";
}

int Main() {
    example::Camera camera;
    std::printf("ExposureTimeAbs is %s\n", Describe(camera->GetNodeMap()->GetNode("ExposureTimeAbs")).c_str());

    // A parameter of the transport layer, not of the camera. Ask for the node map again afterwards: it is another one.
    GenApi::CBooleanPtr migration(camera->GetTLNodeMap()->GetNode("MigrationModeEnable"));
    migration->SetValue(true);
    GenApi::INodeMap* features = camera->GetNodeMap();
    for (const char* older : {"ExposureTimeAbs", "GainRaw", "AcquisitionFrameRateAbs", "BlackLevelRaw"}) {
        GenApi::INode* node = features->GetNode(older);
        std::printf("%s is now %s = %s\n", older, Describe(node).c_str(),
                    node ? GenApi::CValuePtr(node)->ToString().c_str() : "nothing");
    }
    GenApi::CFloatPtr(features->GetNode("ExposureTimeAbs"))->SetValue(5000.0);
    const GenApi::CFloatPtr current(features->GetNode("ExposureTime"));
    return current->GetValue() == 5000.0 ? 0 : 1;
}

} // namespace

int main() {
    return example::Run(Main);
}
