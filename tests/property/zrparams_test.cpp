#include <gtest/gtest.h>

#include <string>

#include "banner.h"
#include "common/exception/zrexception.h"
#include "common/property/zrparams.h"
#include "streambytes.h"

namespace
{
// The code and text of the CZRParamsException that the statement raised.
template <typename Statement>
std::string Raised(Statement Run)
{
    try
    {
        Run();
    }
    catch (CZRParamsException const & Error)
    {
        EXPECT_EQ(Error.GetErrorClass(), ERRORCLASS_FILE);
        return std::to_string(Error.GetErrorCode()) + " " + Error.GetErrorString();
    }
    return "nothing";
}

std::string Stored(CZRParams const & Params)
{
    CMemFileIO Stream;
    EXPECT_TRUE(Params.Write(&Stream));
    return Contents(Stream);
}

// The type of every position as its code character, e.g. "i-s".
std::string Types(CZRParams const & Params)
{
    std::string sTypes;
    for (int i = 0; i < Params.GetCount(); ++i)
        sTypes += static_cast<char>(Params.Get(i).GetType());
    return sTypes;
}
} // namespace

TEST(ZRParams, StoresEveryPositionEmptyOnesIncluded)
{
    EXPECT_EQ(Stored(CZRParams()), Bytes({0, 0, 0, 0}));
    CZRParams Params;
    Params[0] = 7;
    Params[3] = "s";
    Params.ResizeList(2);
    EXPECT_EQ(Stored(Params), Bytes({2, 0, 0, 0, 0x69, 0, 0, 0, 7, 0, 0, 0, 0x2D, 0, 0, 0}));
    EXPECT_FALSE(Params.Write(nullptr));

    Params.Add(CZRProperty(true));
    CByteStream Stream(Stored(Params));
    CZRParams Back;
    ASSERT_TRUE(Back.Read(&Stream));
    EXPECT_EQ(Types(Back), "i-b");
    EXPECT_EQ(Stored(Back), Contents(Stream));
}

TEST(ZRParams, ReadReplacesTheList)
{
    CByteStream Stream(Bytes({1, 0, 0, 0, 0x69, 0, 0, 0, 9, 0, 0, 0}));
    CZRParams Params(4);
    Params[0] = 1;
    EXPECT_FALSE(Params.Read(nullptr));
    EXPECT_EQ(Types(Params), "i---");
    EXPECT_TRUE(Params.Read(&Stream));
    EXPECT_EQ(Stored(Params), Contents(Stream));
    EXPECT_FALSE(Params.Read(&Stream)) << "at the end";
    EXPECT_TRUE(Params.IsEmpty());

    // A value cut off by the end reads as true with what was there, as on a file; what
    // was read before the missing third position stays.
    CByteStream Cut(Bytes({3, 0, 0, 0, 0x2D, 0, 0, 0, 0x69, 0, 0, 0, 5}));
    EXPECT_FALSE(Params.Read(&Cut));
    EXPECT_EQ(Stored(Params), Bytes({2, 0, 0, 0, 0x2D, 0, 0, 0, 0x69, 0, 0, 0, 5, 0, 0, 0}));

    CByteStream Huge(Bytes({0xFF, 0xFF, 0xFF, 0x7F, 0x2D, 0, 0, 0}));
    EXPECT_FALSE(Params.Read(&Huge));
    EXPECT_EQ(Types(Params), "-");
    CByteStream Negative(Bytes({0xFF, 0xFF, 0xFF, 0xFF}));
    EXPECT_TRUE(Params.Read(&Negative));
    EXPECT_TRUE(Params.IsEmpty());
}

TEST(ZRParams, TheNonConstGetGrowsTheList)
{
    CZRParams Params(3);
    EXPECT_EQ(Types(Params), "---");
    for (int nIndex : {-1, 0, 3})
        EXPECT_FALSE(Params.DoesExist(nIndex)) << nIndex;

    Params.ResizeList(2);
    Params[0] = 10;
    EXPECT_EQ(Params.Get(5).GetType(), PROP_NONE);
    Params.Get(1);
    CZRParams const & Const = Params;
    EXPECT_EQ(Const.Get(0).GetInt(), 10);
    EXPECT_EQ(Types(Params), "i-----");
    Params[1] = 11;
    Params.ResetAt(1);
    EXPECT_FALSE(Params.DoesExist(1));
    EXPECT_TRUE(Params.DoesExist(0));
    Params.ResetAt(8);
    EXPECT_EQ(Types(Params), "i--------");

    Params.ResizeList(1);
    Params.Add(CZRProperty(12));
    Params.InsertAt(0, CZRProperty("first"));
    EXPECT_EQ(Types(Params), "sii");
    EXPECT_STREQ(Params[0].GetString().GetString(), "first");
    EXPECT_EQ(Params[1].GetInt(), 10);
    Params.Remove(1);
    EXPECT_EQ(Params[1].GetInt(), 12);
    Params.ResizeList(0);
    EXPECT_TRUE(Params.IsEmpty());
    Params.Add(CZRProperty(1));
    Params.Reset();
    EXPECT_TRUE(Params.IsEmpty());
}

TEST(ZRParams, ChecksRaiseWithTheParameterNumber)
{
    CZRParams Params;
    Params.Add(CZRProperty(1.0f));
    Params.Add(CZRProperty());
    Params.Add(CZRProperty(3));
    EXPECT_EQ(Raised([&] { Params.ExpectParameterCount(2); }), "nothing");
    EXPECT_EQ(Raised([&] { Params.ExpectParameterCount(4); }), "6001 Wrong number of parameters");
    EXPECT_EQ(Raised([&] { Params.ExpectParameter(2); }), "nothing");
    EXPECT_EQ(Raised([&] { Params.ExpectParameter(1); }), "6003 Parameter 1 is missing");
    EXPECT_EQ(Raised([&] { Params.ExpectParameter(7); }), "6003 Parameter 7 is missing");
    EXPECT_EQ(Raised([&] { Params.ExpectParameterType(0, PROP_FLOAT); }), "nothing");
    EXPECT_EQ(Raised([&] { Params.ExpectParameterType(1, PROP_NONE); }), "nothing");
    for (int nIndex : {0, 1})
        EXPECT_EQ(Raised([&] { Params.ExpectParameterType(nIndex, PROP_INT); }),
                  "6002 Parameter " + std::to_string(nIndex) + " is of wrong type");
}

TEST(ZRParamsDeathTest, IndexRules)
{
    CZRParams Params(2);
    std::string const sPattern =
        BannerPattern("(0 <= lIndex) && (lIndex < GetCount())", "common/property/zrparams");
    EXPECT_DEATH(Params.InsertAt(2, CZRProperty(1)), sPattern);
    EXPECT_DEATH(Params.Remove(-1), sPattern);
    CZRParams const & Const = Params;
    // Outside the list the const form answers an empty position and never grows it.
    EXPECT_TRUE(Const.Get(2).IsOfType(PROP_NONE));
    EXPECT_EQ(Raised([&] { Const.ExpectParameterType(2, PROP_INT); }),
              "6002 Parameter 2 is of wrong type");
    EXPECT_EQ(Params.GetCount(), 2);
    EXPECT_DEATH(Params.Get(-1), BannerPattern("lIndex >= 0", "common/property/zrparams"));
}
