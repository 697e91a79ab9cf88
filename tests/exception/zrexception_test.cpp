#include <gtest/gtest.h>

#include <string>

#include "common/exception/zrexception.h"

namespace
{
// "class code line file text" of an exception.
std::string Fields(CZRException const & Error)
{
    return std::to_string(Error.GetErrorClass()) + " " + std::to_string(Error.GetErrorCode()) +
           " " + std::to_string(Error.GetLine()) + " " + Error.GetFileName() + " " +
           Error.GetErrorString();
}

template <typename TException>
std::string CaughtAsBase()
{
    try
    {
        throw TException(4242, 17, "common/file/somewhere", "Something failed.");
    }
    catch (CZRException const & Error)
    {
        return Fields(Error);
    }
    return "nothing thrown";
}
} // namespace

TEST(ZRException, EachClassCarriesItsErrorClassAndIsCaughtByTheBase)
{
    std::string const sRest = " 4242 17 common/file/somewhere Something failed.";
    EXPECT_EQ(CaughtAsBase<CXfsException>(), "9" + sRest);
    EXPECT_EQ(CaughtAsBase<CFileIOException>(), "9" + sRest);
    EXPECT_EQ(CaughtAsBase<CMemFileIOException>(), "9" + sRest);
    EXPECT_EQ(CaughtAsBase<CZRParamsException>(), "9" + sRest);
    EXPECT_EQ(CaughtAsBase<CMailSlotException>(), "10" + sRest);
    EXPECT_EQ(ERRORCLASS_FILE, 9);
    EXPECT_EQ(ERRORCLASS_MAILSLOT, 10);
}

TEST(ZRException, NullTextIsEmptyAndCopiesAreEqual)
{
    CXfsException const Original(4002, 5, "common/file/extendedfilesystem", nullptr);
    ASSERT_NE(Original.GetErrorString(), nullptr);
    EXPECT_STREQ(Original.GetErrorString(), "");

    CMailSlotException const Source(5003, 99, "common/mailslot/zrmailslot",
                                    "Could not write data to mailslot.");
    CMailSlotException Assigned(1, 1, "x", "y");
    Assigned = Source;
    EXPECT_EQ(Fields(CMailSlotException(Source)), Fields(Source));
    EXPECT_EQ(Fields(Assigned), Fields(Source));
}

TEST(ZRException, TextsAreCutTo255BytesAndTerminated)
{
    std::string const s255(255, 'a');
    std::string const s300(300, 'b');
    CFileIOException const Exact(4500, 1, s255.c_str(), s255.c_str());
    EXPECT_EQ(std::string(Exact.GetFileName()), s255);
    EXPECT_EQ(std::string(Exact.GetErrorString()), s255);
    CFileIOException const Long(4501, 2, s300.c_str(), s300.c_str());
    EXPECT_EQ(std::string(Long.GetFileName()), std::string(255, 'b'));
    EXPECT_EQ(std::string(Long.GetErrorString()), std::string(255, 'b'));
}

TEST(ZRExceptionDeathTest, NullFileIsAFailedCheck)
{
    EXPECT_DEATH(CXfsException(4001, 1, nullptr, "x"), "expression: szFile != nullptr");
}
