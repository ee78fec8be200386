#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CExBadType.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CValueBool.h>

#include "support/Raised.h"
#include "support/VirtualSlot.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cstddef>
#include <memory>
#include <string>

using namespace ORVEN;

TEST(CException, ReturnsSourceMessageAndDetail) {
    const CException exception("CGaussFilterPlugin", "No image.", "sigma");
    EXPECT_STREQ(exception.Source(), "CGaussFilterPlugin");
    EXPECT_STREQ(exception.Message(), "No image.");
    EXPECT_STREQ(exception.Detail(), "sigma");
    EXPECT_STREQ(exception.what(), "No image.");
}

TEST(CException, NullTextsAreEmpty) {
    const CException exception(nullptr, nullptr, nullptr);
    EXPECT_STREQ(exception.Source(), "");
    EXPECT_STREQ(exception.Message(), "");
    EXPECT_STREQ(exception.Detail(), "");
}

TEST(CException, HasAnEmptyLocationUnlessGivenOne) {
    const CException exception("source", "message", nullptr);
    EXPECT_EQ(exception.Location().file, nullptr);
    EXPECT_EQ(exception.Location().timeStamp, nullptr);
    EXPECT_EQ(exception.Location().line, 0);
}

TEST(CException, TakesItsSourceFromTheFunctionOfALocation) {
    const Impl::StExLocation location{"Feb  3 2016-19:10:31", "File.h", "ORVEN::Function", 17, 0};
    const CException exception(location, "message");
    EXPECT_STREQ(exception.Source(), "ORVEN::Function");
    EXPECT_STREQ(exception.Message(), "message");
    EXPECT_STREQ(exception.Location().timeStamp, "Feb  3 2016-19:10:31");
    EXPECT_STREQ(exception.Location().file, "File.h");
    EXPECT_STREQ(exception.Location().function, "ORVEN::Function");
    EXPECT_EQ(exception.Location().line, 17);
    EXPECT_EQ(exception.Location().reserved, 0);
}

TEST(CException, KeepsItsTextsAfterTheOriginalIsDestroyed) {
    std::string message = "temporary";
    auto original = std::make_unique<CException>("source", message.c_str(), "detail");
    const CException copy(*original);
    original.reset();
    message.clear();
    EXPECT_STREQ(copy.Message(), "temporary");
    EXPECT_STREQ(copy.Source(), "source");
    EXPECT_STREQ(copy.Detail(), "detail");
}

TEST(CException, OffersItsMessageThroughAVirtualOperation) {
    class CTranslated : public CException {
    public:
        using CException::CException;
        [[nodiscard]] const char* Message() const noexcept override { return "translated"; }
    };
    const CTranslated translated("source", "message", nullptr);
    const CException& exception = translated;
    EXPECT_STREQ(exception.Message(), "translated");
    EXPECT_STREQ(exception.what(), "translated");
    EXPECT_NO_THROW((void)test::VirtualSlot(&CException::Message));
}

TEST(CException, DerivedExceptionsAreCaughtByTheirBases) {
    const auto location = Impl::Here("ORVEN::Test");
    EXPECT_THROW(throw CExBadParam(location, "bad"), CException);
    EXPECT_THROW(throw CExBadType(location, nullptr), CException);
    EXPECT_THROW(throw CExBadParam(location, "bad"), std::exception);
    EXPECT_STREQ(test::Raised<CException>([&] { throw CExBadParam(location, "bad"); }).Message(), "bad");
}

TEST(CExBadType, NamesTheClassOfTheValue) {
    const CValueBool value(true);
    const CExBadType exception(Impl::Here("ORVEN::Test"), &value);
    EXPECT_EQ(std::string(exception.Message()), std::string("A value of type '") + typeid(CValueBool).name() +
                                                    "' does not hold the requested data.");
    EXPECT_STREQ(exception.Source(), "ORVEN::Test");
}

TEST(CExBadType, AcceptsANullValue) {
    EXPECT_STREQ(CExBadType(Impl::Here("ORVEN::Test"), nullptr).Message(),
                 "A value of type 'null' does not hold the requested data.");
}

TEST(StExLocation, HoldsFileLineAndFunctionOfTheCall) {
    const auto line = static_cast<std::int32_t>(__LINE__) + 1;
    const auto location = Impl::Here("ORVEN::Test");
    EXPECT_STREQ(location.file, __FILE__);
    EXPECT_EQ(location.line, line);
    EXPECT_STREQ(location.function, "ORVEN::Test");
    EXPECT_EQ(location.reserved, 0);
}

TEST(StExLocation, StampsDateAndTimeJoinedByAHyphen) {
    const std::string stamp = Impl::Here("ORVEN::Test").timeStamp;
    std::string picture = stamp;
    for (char& character : picture) {
        if (std::isdigit(static_cast<unsigned char>(character)) != 0)
            character = '0';
        else if (std::isalpha(static_cast<unsigned char>(character)) != 0)
            character = 'a';
    }
    EXPECT_TRUE(picture == "aaa 00 0000-00:00:00" || picture == "aaa  0 0000-00:00:00") << stamp;
}

TEST(StExLocation, HasItsFieldsInOrder) {
    using Impl::StExLocation;
    EXPECT_LT(offsetof(StExLocation, timeStamp), offsetof(StExLocation, file));
    EXPECT_LT(offsetof(StExLocation, file), offsetof(StExLocation, function));
    EXPECT_LT(offsetof(StExLocation, function), offsetof(StExLocation, line));
    EXPECT_LT(offsetof(StExLocation, line), offsetof(StExLocation, reserved));
}
