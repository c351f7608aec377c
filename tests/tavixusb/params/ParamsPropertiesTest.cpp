// Which properties the nodes of the grabbers' parameters have, in the order of their setting, and that they have no
// others.

#include "ParamsPtr.h"
#include "params/UsbEventParams.h"
#include "params/UsbStreamParams.h"
#include "tavixusb/support/ParamsRows.h"

namespace {
namespace params_properties {

using PropertyList = std::vector<std::string>;
using PropertyLists = std::vector<std::pair<std::vector<const char*>, PropertyList>>;

const PropertyList kCategory = {"ToolTip", "pFeature", "IsFeature"};
const PropertyList kEntry = {"Value", "Symbolic", "IsFeature"};
const PropertyList kFormula = {"Visibility", "pVariable", "Formula", "IsFeature"};
const PropertyList kPriority = {"ToolTip", "DisplayName", "Visibility", "pIsLocked",
                                "pValue",  "pMin",        "pMax",       "IsFeature"};
const PropertyList kUrbs = {"ToolTip", "DisplayName", "Visibility", "pIsLocked", "pValue", "Min", "IsFeature"};
const PropertyList kRegister = {"Address", "Length",    "AccessMode", "pPort",    "Cachable",
                                "Sign",    "Endianess", "Visibility", "IsFeature"};
const PropertyList kStatistic = {"Address",     "Length",       "AccessMode", "pPort",       "Cachable",
                                 "Sign",        "Endianess",    "ToolTip",    "DisplayName", "Visibility",
                                 "PollingTime", "pInvalidator", "IsFeature"};

const PropertyLists kOfStreams = {
    {{"Root", "Statistic"}, kCategory},
    {{"MaxBufferSize"}, {"ToolTip", "DisplayName", "Visibility", "pIsLocked", "Value", "Min", "IsFeature"}},
    {{"NumMaxQueuedUrbs"}, kUrbs},
    {{"TransferLoopThreadPriority"}, kPriority},
    {{"EnumEntry_Status_Closed", "EnumEntry_Status_Open", "EnumEntry_Status_Grabbing"}, kEntry},
    {{"StatusReg"}, {"Visibility", "Value", "IsFeature"}},
    {{"StatusIsOpen", "StatusIsLocked"}, kFormula},
    {{"StreamGrabberPort"}, {"ToolTip", "IsFeature"}},
    {{"NumMaxQueuedUrbs_Value", "MaxTransferSize_Value", "MaxTransferSize_Max", "MaxTransferSize_Min",
      "MaxTransferSize_Inc", "TransferLoopThreadPriority_Value", "TransferLoopThreadPriority_Max",
      "TransferLoopThreadPriority_Min"},
     kRegister},
    {{"Statistic_Total_Buffer_Count", "Statistic_Failed_Buffer_Count", "Statistic_Missed_Frame_Count",
      "Statistic_Resynchronization_Count", "Statistic_Last_Block_Id"},
     kStatistic}};

const PropertyLists kOfEvents = {
    {{"Root", "Statistic"}, kCategory},
    {{"NumMaxQueuedUrbs"}, kUrbs},
    {{"TransferLoopThreadPriority"}, kPriority},
    {{"EnumEntry_Status_Closed", "EnumEntry_Status_Open"}, kEntry},
    {{"Status"}, {"ToolTip", "Visibility", "ImposedAccessMode", "pEnumEntry", "pValue", "IsFeature"}},
    {{"StatusReg"}, {"Visibility", "Value", "IsFeature"}},
    {{"StatusIsOpen"}, kFormula},
    {{"EventStreamGrabberPort"}, {"ToolTip", "IsFeature"}},
    {{"NumBuffer_Value", "NumMaxQueuedUrbs_Value", "MaximumTransferLength_Value", "TransferLoopThreadPriority_Value",
      "TransferLoopThreadPriority_Max", "TransferLoopThreadPriority_Min", "GenerateNumTestEvents_Value"},
     kRegister},
    {{"Statistic_Total_Event_Count", "Statistic_Failed_Event_Count"}, kStatistic}};

void ExpectProperties(GenApi::INodeMap& map, const PropertyLists& lists) {
    for (const auto& [nodes, expected] : lists) {
        for (const char* node : nodes)
            EXPECT_EQ(expected, PropertyNames(map, node)) << node;
    }
}

TEST(ParamsProperties, OfStreamsAreSetInOrder) {
    using Params = Vandrel_UsbStreamParams::CUsbStreamParamsImpl;
    ExpectProperties(*Tavix::ParamsPtr<Params>(Params::Create("")), kOfStreams);
}

TEST(ParamsProperties, OfEventsAreSetInOrder) {
    using Params = Vandrel_UsbEventParams::CUsbEventParamsImpl;
    ExpectProperties(*Tavix::ParamsPtr<Params>(Params::Create("")), kOfEvents);
}

} // namespace params_properties
} // namespace
