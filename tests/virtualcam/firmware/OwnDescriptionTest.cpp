// The description file against the device that it describes.

#include <set>

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include "virtualcam/device/Manifest.h"
#include "virtualcam/firmware/CameraRegisters.h"
#include "virtualcam/support/DeviceClient.h"

namespace {

using virtualcam::Bytes;
using virtualcam::CameraSettings;
using virtualcam::Device;
using virtualcam::test::DeviceClient;

struct DescriptionTest : testing::Test {
    pugi::xml_document document;
    pugi::xml_node root;
    std::set<std::string> names;

    DescriptionTest() {
        EXPECT_TRUE(document.load_string(virtualcam::BuiltInDescription().c_str()));
        root = document.child("RegisterDescription");
        for (const pugi::xml_node node : root.children())
            names.insert(node.attribute("Name").value());
    }
    static bool IsRegister(const pugi::xml_node& node) {
        const std::string kind = node.name();
        return kind == "IntReg" || kind == "FloatReg" || kind == "StringReg" || kind == "Register";
    }
    // How many registers an indexed one stands for: the entries of the selector in front of it.
    unsigned IndexCount(const pugi::xml_node& node) const {
        const pugi::xml_node index = node.child("pIndex");
        if (!index) return 1;
        std::string selector = index.child_value();
        selector.resize(selector.size() - 4); // "_Reg"
        const pugi::xml_node feature = root.find_child_by_attribute("Name", selector.c_str());
        if (std::string(feature.name()) == "Integer") return feature.child("Max").text().as_uint() + 1;
        unsigned entries = 0;
        for (const pugi::xml_node entry : feature.children("EnumEntry"))
            entries += entry ? 1 : 0;
        return entries;
    }
};

TEST_F(DescriptionTest, NamesTheMandatoryFeatures) {
    for (const char* name : {"Root", "Device", "Width", "Height", "PixelFormat", "PayloadSize", "AcquisitionMode",
                             "AcquisitionStart", "AcquisitionStop", "TLParamsLocked", "ChunkData", "ChunkPayloadCRC16"})
        EXPECT_EQ(names.count(name), 1u) << name;
    EXPECT_STREQ(root.attribute("SchemaMinorVersion").value(), "1");
}

TEST_F(DescriptionTest, LinksOnlyToNodesThatExist) {
    int links = 0;
    for (const pugi::xml_node node : root.children())
        for (const pugi::xml_node child : node.children()) {
            const std::string tag = child.name();
            if (tag[0] != 'p' || tag.size() < 2 || tag[1] < 'A' || tag[1] > 'Z') continue;
            ++links;
            EXPECT_EQ(names.count(child.child_value()), 1u) << node.attribute("Name").value() << ' ' << tag;
        }
    EXPECT_GT(links, 500);
}

TEST_F(DescriptionTest, HasARegisterInTheDeviceForEachOfItsOwn) {
    Device device{CameraSettings{}};
    DeviceClient client(device);
    int seen = 0;
    for (const pugi::xml_node node : root.children()) {
        if (!IsRegister(node) || std::string(node.child_value("pPort")) != "Device") continue;
        const unsigned offset = std::strtoul(node.child("pIndex").attribute("Offset").value(), nullptr, 16);
        const std::uint64_t address = std::strtoull(node.child_value("Address"), nullptr, 16);
        const std::size_t length = node.child("Length").text().as_uint();
        const bool writeOnly = std::string(node.child_value("AccessMode")) == "WO";
        for (unsigned i = 0; i < IndexCount(node); ++i) {
            Bytes data;
            EXPECT_EQ(client.Read(address + std::uint64_t{i} * offset, length, data), writeOnly ? 0x8006 : 0)
                << node.attribute("Name").value() << ' ' << i;
            ++seen;
        }
    }
    EXPECT_GT(seen, 4096) << "the look-up table alone has so many";
}

TEST_F(DescriptionTest, SaysOfEachRegisterWhetherItIsWritable) {
    Device device{CameraSettings{}};
    DeviceClient client(device);
    for (const pugi::xml_node node : root.children()) {
        const std::string name = node.attribute("Name").value();
        if (!IsRegister(node) || std::string(node.child_value("pPort")) != "Device") continue;
        const std::uint64_t address = std::strtoull(node.child_value("Address"), nullptr, 16);
        const bool readOnly = std::string(node.child_value("AccessMode")) == "RO";
        Bytes data;
        if (client.Read(address, node.child("Length").text().as_uint(), data) != 0) continue;
        const std::uint16_t status = client.Write(address, data); // what is there already
        const bool refused = name == "UserSetSave_Reg";           // the factory's set is selected
        EXPECT_EQ(status, readOnly ? 0x8004 : refused ? 0x8006 : 0) << name;
    }
}

TEST_F(DescriptionTest, GivesEachChunkAPortOfItsOwn) {
    std::set<std::string> ids;
    std::size_t ports = 0;
    for (const pugi::xml_node port : root.children("Port")) {
        if (!port.child("ChunkID")) continue;
        ids.insert(port.child_value("ChunkID"));
        ++ports;
    }
    EXPECT_EQ(ids.size(), 7u);
    EXPECT_EQ(ports, ids.size());
}

TEST_F(DescriptionTest, CutsChunkDataOffFromTheDevice) {
    for (const pugi::xml_node feature : root.find_child_by_attribute("Name", "ChunkData").children("pFeature")) {
        const std::string name = feature.child_value();
        const pugi::xml_node entry = root.find_child_by_attribute("Name", (name + "_Reg").c_str());
        EXPECT_EQ(entry.child_value("pPort"), name + "Port");
    }
}

} // namespace
