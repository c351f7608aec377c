#include "Base/GCException.h"

#include <cstdint>
#include <ostream>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

using namespace GenICam;

namespace {

template<class Exception>
Exception Caught(void (*thrower)()) {
    try {
        thrower();
    } catch (const Exception& exception) {
        return exception;
    }
    throw std::logic_error("nothing was thrown");
}

} // namespace

TEST(GenericException, ComposesWhatFromItsParts) {
    const RuntimeException exception("Device is gone", "Camera", 42);
    EXPECT_STREQ(exception.GetDescription(), "Device is gone");
    EXPECT_STREQ(exception.GetSourceFileName(), "Camera");
    EXPECT_EQ(exception.GetSourceLine(), 42u);
    EXPECT_STREQ(exception.what(), "Device is gone : RuntimeException thrown (file 'Camera', line 42)");
}

TEST(GenericException, NamesNodeAndMethod) {
    const AccessException exception("Node is not writable.", "Integer.cpp", 7, "Width", "SetValue()");
    EXPECT_STREQ(exception.what(), "Node is not writable. : AccessException thrown in node 'Width' while calling "
                                   "'Width.SetValue()' (file 'Integer.cpp', line 7)");
    EXPECT_STREQ(exception.GetDescription(), "Node is not writable.");
}

TEST(GenericException, TakesTheNameOfItsTypeFromTheCaller) {
    const GenericException exception("text", "file", 1, "OwnException");
    EXPECT_STREQ(exception.what(), "text : OwnException thrown (file 'file', line 1)");
}

TEST(GenericException, TakesNullTextsAsEmpty) {
    const GenericException plain(nullptr, nullptr, 0);
    EXPECT_STREQ(plain.GetDescription(), "");
    EXPECT_STREQ(plain.GetSourceFileName(), "");
    EXPECT_STREQ(plain.what(), " : GenericException thrown (file '', line 0)");
    const GenericException inNode(nullptr, nullptr, 0, nullptr, nullptr, nullptr);
    EXPECT_STREQ(inNode.what(), " :  thrown in node '' while calling '.' (file '', line 0)");
}

TEST(GenericException, SharesItsTextsWithCopies) {
    static_assert(std::is_nothrow_copy_constructible_v<GenericException>);
    static_assert(std::is_nothrow_copy_assignable_v<GenericException>);
    static_assert(std::is_nothrow_copy_constructible_v<TimeoutException>);
    auto original = std::make_unique<TimeoutException>("too late", "file", 3);
    const TimeoutException copy(*original);
    const char* text = original->what();
    original.reset();
    EXPECT_EQ(copy.what(), text) << "the same text, still alive";
    EXPECT_STREQ(copy.what(), "too late : TimeoutException thrown (file 'file', line 3)");
}

TEST(GenericException, StaysReadableAfterAMove) {
    GenericException original("text", "file", 1);
    const GenericException moved(std::move(original));
    EXPECT_STREQ(moved.GetDescription(), "text");
    EXPECT_STREQ(original.GetDescription(), "text"); // NOLINT: exactly what is asked
}

TEST(GenericException, IsAStandardException) {
    EXPECT_THROW(throw RUNTIME_EXCEPTION("text"), std::exception);
    EXPECT_THROW(throw RUNTIME_EXCEPTION("text"), GenericException);
}

template<class Exception>
class ExceptionKind : public testing::Test {};

using Kinds =
    testing::Types<BadAllocException, InvalidArgumentException, OutOfRangeException, PropertyException,
                   RuntimeException, LogicalErrorException, AccessException, TimeoutException, DynamicCastException>;
TYPED_TEST_SUITE(ExceptionKind, Kinds, );

TYPED_TEST(ExceptionKind, DerivesFromGenericExceptionAndFromNoOther) {
    EXPECT_TRUE((std::is_base_of_v<GenericException, TypeParam>));
    EXPECT_EQ((std::is_base_of_v<RuntimeException, TypeParam>), (std::is_same_v<RuntimeException, TypeParam>));
    EXPECT_EQ((std::is_base_of_v<LogicalErrorException, TypeParam>),
              (std::is_same_v<LogicalErrorException, TypeParam>));
}

namespace {

struct MacroRow {
    const char* type;
    void (*thrower)();
    void (*nodeThrower)();
};

void PrintTo(const MacroRow& row, std::ostream* to) {
    *to << row.type;
}

#define TAVIX_MACRO_ROW(type, macro)                                                                                   \
    MacroRow {                                                                                                         \
#type, [] { throw macro("%hs", "text"); }, [] { throw macro##_NODE("Gain", "GetValue()", "%d", 7); }           \
    }

const MacroRow kMacros[] = {
    TAVIX_MACRO_ROW(GenericException, GENERIC_EXCEPTION),
    TAVIX_MACRO_ROW(BadAllocException, BAD_ALLOC_EXCEPTION),
    TAVIX_MACRO_ROW(InvalidArgumentException, INVALID_ARGUMENT_EXCEPTION),
    TAVIX_MACRO_ROW(OutOfRangeException, OUT_OF_RANGE_EXCEPTION),
    TAVIX_MACRO_ROW(PropertyException, PROPERTY_EXCEPTION),
    TAVIX_MACRO_ROW(RuntimeException, RUNTIME_EXCEPTION),
    TAVIX_MACRO_ROW(LogicalErrorException, LOGICAL_ERROR_EXCEPTION),
    TAVIX_MACRO_ROW(AccessException, ACCESS_EXCEPTION),
    TAVIX_MACRO_ROW(TimeoutException, TIMEOUT_EXCEPTION),
    TAVIX_MACRO_ROW(DynamicCastException, DYNAMICCAST_EXCEPTION),
};

class ExceptionMacro : public testing::TestWithParam<MacroRow> {};

std::string Place(const GenericException& exception) {
    return "(file 'GCExceptionTest.cpp', line " + std::to_string(exception.GetSourceLine()) + ")";
}

} // namespace

TEST_P(ExceptionMacro, NamesKindAndPlace) {
    const auto exception = Caught<GenericException>(GetParam().thrower);
    EXPECT_GT(exception.GetSourceLine(), 1u);
    EXPECT_EQ(exception.what(), std::string("text : ") + GetParam().type + " thrown " + Place(exception));
}

TEST_P(ExceptionMacro, NamesNodeAndMethodToo) {
    const auto exception = Caught<GenericException>(GetParam().nodeThrower);
    EXPECT_EQ(exception.what(), std::string("7 : ") + GetParam().type +
                                    " thrown in node 'Gain' while calling 'Gain.GetValue()' " + Place(exception));
}

INSTANTIATE_TEST_SUITE_P(AllKinds, ExceptionMacro, testing::ValuesIn(kMacros),
                         [](const auto& row) { return std::string(row.param.type); });

TEST(ExceptionMacros, ThrowTheirOwnKind) {
    EXPECT_THROW(throw ACCESS_EXCEPTION("x"), AccessException);
    EXPECT_THROW(throw TIMEOUT_EXCEPTION("x"), TimeoutException);
    EXPECT_THROW(throw LOGICAL_ERROR_EXCEPTION_NODE("n", "m", "x"), LogicalErrorException);
}

TEST(ExceptionMacros, NameTheLineOfTheThrow) {
    const auto exception = Caught<RuntimeException>([] { throw RUNTIME_EXCEPTION("x"); });
    EXPECT_EQ(exception.GetSourceLine(), static_cast<unsigned int>(__LINE__ - 1));
}

TEST(ExceptionMacros, KeepFormatsAsTheyAreWritten) {
    EXPECT_STREQ(
        RUNTIME_EXCEPTION("Failed to read property value %Ix. %s", std::uintptr_t{0x400}, "Gone").GetDescription(),
        "Failed to read property value 400. Gone");
    EXPECT_STREQ(RUNTIME_EXCEPTION("Buffer length %i64d exceeds range", 11).GetDescription(),
                 "Buffer length 1164d exceeds range");
    EXPECT_STREQ(RUNTIME_EXCEPTION("for device %'%hs'", "cam").GetDescription(), "for device %hs'");
    EXPECT_STREQ(RUNTIME_EXCEPTION("100%% of '%hs'", "it").GetDescription(), "100% of 'it'");
}

TEST(ExceptionMacros, DoNotCutLongText) {
    const std::string text(100000, 'z');
    EXPECT_EQ(RUNTIME_EXCEPTION("%hs", text.c_str()).GetDescription(), text);
}

TEST(SourceFileBaseName, DropsTheDirectory) {
    static_assert(SourceFileBaseName("/a/b/File.cpp")[0] == 'F', "found at compile time");
    EXPECT_STREQ(SourceFileBaseName("/a/b/File.cpp"), "File.cpp");
    EXPECT_STREQ(SourceFileBaseName("File.cpp"), "File.cpp");
    EXPECT_STREQ(SourceFileBaseName("folder/"), "");
    EXPECT_STREQ(SourceFileBaseName(""), "");
}
