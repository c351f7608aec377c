// Commands, and errors that a device reports after writes.
#include "genapi/support/TestMap.h"

#include <gtest/gtest.h>

using namespace GenApi;
using genapi_test::TestMap;

TEST(Command, IsDoneWhenTheRegisterShowsAnotherValue) {
    TestMap map;
    map.AddRegister("IntReg", "R", "0");
    map.Add("Command", "C", {{"pValue", "R", ""}, {"CommandValue", "1", ""}}).Ready();
    ICommand& command = map.As<ICommand>("C");
    EXPECT_TRUE(command.IsDone());
    EXPECT_EQ(map.port.reads, 0);
    int calls = 0;
    Register(&map.Node("C"), [&](INode*) { ++calls; });
    command.Execute();
    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(command.IsDone());
    EXPECT_EQ(map.Value("C").ToString(), "0");
    map.port.Put(0, {0});
    EXPECT_TRUE(command.IsDone());
    EXPECT_EQ(calls, 2);
    EXPECT_TRUE(command.IsDone());
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(map.Value("C").ToString(), "1");
    map.Value("C").FromString("true");
    EXPECT_EQ(map.port.Get(0, 1)[0], 1);
}

TEST(Command, IsDoneAtOnceOnAWriteOnlyRegister) {
    TestMap map;
    map.AddRegister("IntReg", "R", "0", {{"AccessMode", "WO", ""}});
    map.Add("Integer", "V", {{"Value", "9", ""}});
    map.Add("Command", "C", {{"pValue", "R", ""}, {"pCommandValue", "V", ""}}).Ready();
    map.As<ICommand>("C").Execute();
    EXPECT_EQ(map.port.Get(0, 1)[0], 9);
    EXPECT_TRUE(map.As<ICommand>("C").IsDone());
    EXPECT_EQ(map.Mode("C"), WO);
}

TEST(Command, MayHoldItsOwnValueAndIsDoneAtOnceThen) {
    TestMap map;
    map.Add("Command", "C", {{"Value", "0", ""}, {"CommandValue", "7", ""}});
    map.Add("Integer", "Told", {{"Value", "0", ""}, {"pInvalidator", "C", ""}}).Ready();
    int calls = 0;
    Register(&map.Node("Told"), [&](INode*) { ++calls; });
    map.As<ICommand>("C")();
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(map.As<ICommand>("C").IsDone());
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(map.Mode("C"), RW);
    map.Node("C").ImposeAccessMode(RO);
    EXPECT_THROW(map.As<ICommand>("C").Execute(), GenICam::AccessException);
}

TEST(Command, InvalidatesWhatNamesIt) {
    TestMap map;
    map.AddRegister("IntReg", "R", "0");
    map.Add("Command", "Load", {{"pValue", "R", ""}, {"CommandValue", "1", ""}});
    map.AddRegister("IntReg", "Width", "8", {{"pInvalidator", "Load", ""}}).Ready();
    map.Integer("Width").GetValue();
    map.As<ICommand>("Load").Execute();
    map.port.Put(8, {5});
    EXPECT_EQ(map.Integer("Width").GetValue(), 5);
}

TEST(Command, IsCheckedByPolling) {
    TestMap map;
    map.AddRegister("IntReg", "R", "0");
    map.Add("Command", "C", {{"pValue", "R", ""}, {"CommandValue", "1", ""}, {"PollingTime", "100", ""}}).Ready();
    map.As<ICommand>("C").Execute();
    int calls = 0;
    Register(&map.Node("C"), [&](INode*) { ++calls; });
    map.Poll(100);
    EXPECT_EQ(calls, 0);
    map.port.Put(0, {0});
    map.Poll(100);
    EXPECT_EQ(calls, 1);
}

TEST(Command, IsDoneForPollingWhateverTheRegisterShowsThen) {
    TestMap map;
    map.AddRegister("IntReg", "R", "0");
    map.Add("Integer", "I", {{"pValue", "R", ""}, {"Min", "0", ""}, {"Max", "1", ""}});
    map.Add("Command", "C", {{"pValue", "I", ""}, {"CommandValue", "1", ""}, {"PollingTime", "100", ""}}).Ready();
    map.As<ICommand>("C").Execute();
    map.port.Put(0, {5});
    map.Poll(100);
    EXPECT_EQ(map.Value("C").ToString(), "1");
}

TEST(ErrorLink, TurnsAnErrorOfTheDeviceIntoAnException) {
    TestMap map;
    map.Add("EnumEntry", "EnumEntry_Err_None", {{"Value", "0", ""}, {"Symbolic", "None", ""}});
    map.Add("EnumEntry", "EnumEntry_Err_TooHot",
            {{"Value", "1", ""}, {"Symbolic", "TooHot", ""}, {"Description", "The sensor is too hot.", ""}});
    map.AddRegister("IntReg", "ErrReg", "4");
    map.Add("Enumeration", "Err",
            {{"pEnumEntry", "EnumEntry_Err_None", ""},
             {"pEnumEntry", "EnumEntry_Err_TooHot", ""},
             {"pValue", "ErrReg", ""}});
    map.AddRegister("IntReg", "R", "0", {{"pError", "Err", ""}});
    map.Add("Command", "C", {{"pValue", "R", ""}, {"CommandValue", "1", ""}, {"pError", "Err", ""}}).Ready();
    EXPECT_NO_THROW(map.Integer("R").SetValue(1));
    map.port.Put(4, {1});
    try {
        map.Integer("R").SetValue(2);
        FAIL() << "the device's error is missing";
    } catch (const GenICam::RuntimeException& exception) {
        EXPECT_STREQ(exception.GetDescription(), "The device reports TooHot: The sensor is too hot.");
    }
    EXPECT_THROW(map.As<ICommand>("C").Execute(), GenICam::RuntimeException);
    EXPECT_NO_THROW(map.Integer("R").SetValue(2, /*Verify=*/false)) << "without verify nobody asks";
}
