#include <gtest/gtest.h>

#include <string>

#include "common/exception/zrexception.h"

namespace
{
template <typename TException>
void ExpectCaughtAsBase(eErrorClass eExpectedClass)
{
    try
    {
        throw TException(4242, 17, "common/file/somewhere", "Something failed.");
    }
    catch (CZRException const & Error)
    {
        EXPECT_EQ(Error.GetErrorClass(), eExpectedClass);
        EXPECT_EQ(Error.GetErrorCode(), 4242u);
        EXPECT_EQ(Error.GetLine(), 17u);
        EXPECT_STREQ(Error.GetFileName(), "common/file/somewhere");
        EXPECT_STREQ(Error.GetErrorString(), "Something failed.");
        return;
    }
    ADD_FAILURE() << "not caught as CZRException";
}
} // namespace

TEST(ZRException, EachClassCarriesItsErrorClassAndIsCaughtByTheBase)
{
    ExpectCaughtAsBase<CXfsException>(ERRORCLASS_FILE);
    ExpectCaughtAsBase<CFileIOException>(ERRORCLASS_FILE);
    ExpectCaughtAsBase<CMemFileIOException>(ERRORCLASS_FILE);
    ExpectCaughtAsBase<CMailSlotException>(ERRORCLASS_MAILSLOT);
    ExpectCaughtAsBase<CZRParamsException>(ERRORCLASS_FILE);
    EXPECT_EQ(ERRORCLASS_FILE, 9);
    EXPECT_EQ(ERRORCLASS_MAILSLOT, 10);
}

TEST(ZRException, NullTextIsEmptyAndCopiesAreEqual)
{
    CXfsException const Original(4002, 5, "common/file/extendedfilesystem", nullptr);
    ASSERT_NE(Original.GetErrorString(), nullptr);
    EXPECT_STREQ(Original.GetErrorString(), "");

    CMailSlotException Assigned(1, 1, "x", "y");
    CMailSlotException const Source(5003, 99, "common/mailslot/zrmailslot",
                                    "Could not write data to mailslot.");
    CMailSlotException const Copy(Source);
    Assigned = Source;
    for (CZRException const * pError :
         {static_cast<CZRException const *>(&Copy), static_cast<CZRException const *>(&Assigned)})
    {
        EXPECT_EQ(pError->GetErrorClass(), Source.GetErrorClass());
        EXPECT_EQ(pError->GetErrorCode(), Source.GetErrorCode());
        EXPECT_EQ(pError->GetLine(), Source.GetLine());
        EXPECT_STREQ(pError->GetFileName(), Source.GetFileName());
        EXPECT_STREQ(pError->GetErrorString(), Source.GetErrorString());
    }
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
