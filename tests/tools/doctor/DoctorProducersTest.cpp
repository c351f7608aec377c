// What the examination finds of transport layers and of producers for other programs.

#include "DoctorTest.h"

namespace {

using namespace doctortest;

TEST(Doctor, NamesTransportLayersThatAreBrokenOrSwitchedOff) {
    const FakeSystem system;
    Patient patient = Examined(system);
    patient.transportLayers = tool::TransportLayers{{"USB"}, {}, {"'/a/libtavixusb-4.0.0.so': invalid ELF header"}};
    ExpectProblem(Said(Examine(patient), "transport-layer"), "/a/libtavixusb-4.0.0.so", "unset TAVIX_TL_PATH");
    patient.transportLayers = tool::TransportLayers{{"USB"}, {"USB"}, {}};
    ExpectProblem(Said(Examine(patient), "transport-layer"), "TAVIX_USE_TL is '', which switches USB off",
                  "unset TAVIX_USE_TL");
}

TEST(Doctor, MissesTheTransportLayer) {
    const FakeSystem system;
    Patient patient = Examined(system);
    patient.transportLayers.emplace();
    ExpectProblem(Said(Examine(patient), "transport-layer"), "none can be loaded", "unset TAVIX_TL_PATH TAVIX_USE_TL");
}

TEST(Doctor, BlamesTheVariableAndNoTransportLayerForWrongVirtualCameras) {
    const FakeSystem system;
    Patient patient = Examined(system);
    patient.transportLayers = tool::TransportLayers{{}, {}, {"it does not load"}, "TAVIX_VIRTUAL_CAMERAS: wrong"};
    std::vector<Finding> said;
    for (const Finding& finding : Examine(patient))
        if (finding.id == "transport-layer") said.push_back(finding);
    ASSERT_EQ(said.size(), 1u);
    ExpectProblem(said.front(), "TAVIX_VIRTUAL_CAMERAS: wrong", "unset TAVIX_VIRTUAL_CAMERAS");
}

TEST(Doctor, TellsStrangersProducersFromOurs) {
    const FakeSystem system;
    Patient patient = Examined(system);
    patient.producers = tool::GentlProducers{"/l/tavix-gentl/libtavixgentl.cti",
                                             {{"/o/other.cti", false, false, "crashes with signal 11"},
                                              {"/l/tavix-gentl/libtavixgentl.cti", true, false, ""}},
                                             {}};
    std::vector<Finding> said;
    for (const Finding& finding : Examine(patient))
        if (finding.id == "gentl-producer") said.push_back(finding);
    ASSERT_EQ(said.size(), 3U);
    EXPECT_EQ(said[0].severity, Severity::Note) << "not ours to mend";
    EXPECT_EQ(said[0].text, "/o/other.cti does not work: crashes with signal 11");
    EXPECT_EQ(said[0].command, "tavix gentl '/o/other.cti'");
    EXPECT_EQ(said[1].severity, Severity::Good);
    EXPECT_EQ(said[2].severity, Severity::Note);
    EXPECT_EQ(said[2].text, "programs that take the first producer get /o/other.cti, not "
                            "/l/tavix-gentl/libtavixgentl.cti");
    patient.producers->checks = {{"/l/tavix-gentl/libtavixgentl.cti", true, false, "does not come back within 10 s"}};
    ExpectProblem(Said(Examine(patient), "gentl-producer"), "does not come back within 10 s",
                  "tavix gentl '/l/tavix-gentl/libtavixgentl.cti'");
}

TEST(Doctor, TellsWhatTheProducerPathNamesTwiceOrInVain) {
    const FakeSystem system;
    Patient patient = Examined(system);
    patient.producers = tool::GentlProducers{"", {}, {{"/gone"}, {"/a/"}, "/a:/b"}};
    std::vector<Finding> said;
    for (const Finding& finding : Examine(patient))
        if (finding.id == "gentl-path") said.push_back(finding);
    ASSERT_EQ(said.size(), 2U);
    EXPECT_EQ(said[0].severity, Severity::Note);
    EXPECT_EQ(said[0].text, "GENICAM_GENTL64_PATH names /gone, which does not exist");
    EXPECT_EQ(said[0].command, "export GENICAM_GENTL64_PATH='/a:/b'");
    EXPECT_EQ(said[1].text, "GENICAM_GENTL64_PATH names /a/, and what is there before it, too: programs that load a "
                            "producer twice get an error");
    patient.producers->faults.mended.clear();
    EXPECT_EQ(Said(Examine(patient), "gentl-path").command, "unset GENICAM_GENTL64_PATH");
}

TEST(Doctor, MissesNoProducerThatIsNotInstalled) {
    const FakeSystem system;
    Patient patient = Examined(system);
    patient.producers.emplace();
    for (const Finding& finding : Examine(patient))
        EXPECT_NE(finding.id, "gentl-producer") << finding.text;
}

} // namespace
