#include <gtest/gtest.h>

#include <cstring>

#include "banner.h"
#include "common/property/zrproperty.h"
#include "streambytes.h"

namespace
{
std::string Stored(CZRProperty const & Property)
{
    CMemFileIO Stream;
    EXPECT_TRUE(Property.Write(&Stream));
    return Contents(Stream);
}
} // namespace

TEST(ZRProperty, EachTypeHasItsStoredForm)
{
    EXPECT_EQ(Stored(CZRProperty()), Bytes({0x2D, 0, 0, 0}));
    EXPECT_EQ(Stored(CZRProperty(true)), Bytes({0x62, 0, 0, 0, 1}));
    EXPECT_EQ(Stored(CZRProperty(7)), Bytes({0x69, 0, 0, 0, 7, 0, 0, 0}));
    EXPECT_EQ(Stored(CZRProperty(-1L)), Bytes({0x6C, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(Stored(CZRProperty(1.0f)), Bytes({0x66, 0, 0, 0, 0, 0, 0x80, 0x3F}));
    EXPECT_EQ(Stored(CZRProperty("ab")), Bytes({0x73, 0, 0, 0, 2, 0, 0, 0, 'a', 'b'}));
    EXPECT_EQ(Stored(CZRProperty("")), Bytes({0x73, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_FALSE(CZRProperty(1).Write(nullptr));
}

TEST(ZRProperty, EveryTypeReadsBackUnchanged)
{
    CZRProperty const aWritten[] = {CZRProperty(false),
                                    CZRProperty(-123456),
                                    CZRProperty(2147483647L),
                                    CZRProperty(-0.25f),
                                    CZRProperty(CZRString("with \"quotes\"")),
                                    CZRProperty("text"),
                                    CZRProperty(""),
                                    CZRProperty()};
    CMemFileIO Stream;
    for (CZRProperty const & Property : aWritten)
        ASSERT_TRUE(Property.Write(&Stream));
    ASSERT_TRUE(Stream.SetFilePointerPos(0));
    CZRProperty Read;
    ASSERT_TRUE(Read.Read(&Stream));
    EXPECT_FALSE(Read.GetBool());
    ASSERT_TRUE(Read.Read(&Stream));
    EXPECT_EQ(Read.GetInt(), -123456);
    ASSERT_TRUE(Read.Read(&Stream));
    EXPECT_EQ(Read.GetLong(), 2147483647L);
    ASSERT_TRUE(Read.Read(&Stream));
    EXPECT_EQ(Read.GetFloat(), -0.25f);
    ASSERT_TRUE(Read.Read(&Stream));
    EXPECT_STREQ(Read.GetString().GetString(), "with \"quotes\"");
    ASSERT_TRUE(Read.Read(&Stream));
    EXPECT_STREQ(static_cast<char const *>(Read), "text");
    ASSERT_TRUE(Read.Read(&Stream));
    EXPECT_EQ(Read.GetString().GetLength(), 0) << "an empty string replaces the held text";
    ASSERT_TRUE(Read.Read(&Stream));
    EXPECT_EQ(Read.GetType(), PROP_NONE) << "a stored PROP_NONE replaces a held value";
    EXPECT_TRUE(Stream.IsEof());
    EXPECT_FALSE(Read.Read(nullptr));
}

TEST(ZRProperty, ReadsTheOlderNumbering)
{
    CByteStream Stream(Bytes({1,    0, 0, 0, 2,    0,    0,    0,         // bool, 4 bytes
                              1,    0, 0, 0, 0,    0,    0,    0,         // false
                              0x62, 0, 0, 0, 2,                           // bool, 1 byte
                              2,    0, 0, 0, 9,    0,    0,    0,         // int
                              3,    0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF,      // long
                              4,    0, 0, 0, 0,    0,    0x20, 0x40,      // float
                              5,    0, 0, 0, 1,    0,    0,    0,    'z', // string
                              0xFF, 0, 0, 0}));                           // none
    CZRProperty Read(5);
    ASSERT_TRUE(Read.Read(&Stream));
    EXPECT_TRUE(Read.GetBool());
    EXPECT_EQ(Stream.GetFilePointerPos(), 8u);
    ASSERT_TRUE(Read.Read(&Stream));
    EXPECT_FALSE(Read.GetBool());
    ASSERT_TRUE(Read.Read(&Stream));
    EXPECT_TRUE(Read.GetBool());
    EXPECT_EQ(Stream.GetFilePointerPos(), 21u);
    ASSERT_TRUE(Read.Read(&Stream));
    EXPECT_EQ(Read.GetInt(), 9);
    ASSERT_TRUE(Read.Read(&Stream));
    EXPECT_EQ(Read.GetLong(), -2L);
    ASSERT_TRUE(Read.Read(&Stream));
    EXPECT_EQ(Read.GetFloat(), 2.5f);
    ASSERT_TRUE(Read.Read(&Stream));
    EXPECT_STREQ(Read.GetString().GetString(), "z");
    ASSERT_TRUE(Read.Read(&Stream));
    EXPECT_EQ(Read.GetType(), PROP_NONE);
    EXPECT_TRUE(Stream.IsEof());
}

TEST(ZRProperty, NumbersOutsideTheTablesHaveNoValueBytes)
{
    for (int nNumber : {0, 6, 31, 32, 45, -1, 97, 256})
    {
        std::string sBytes(4, '\0');
        std::memcpy(&sBytes[0], &nNumber, 4);
        CByteStream Stream(sBytes + "rest");
        CZRProperty Read(3);
        EXPECT_TRUE(Read.Read(&Stream)) << nNumber;
        EXPECT_EQ(Read.GetType(), PROP_NONE) << nNumber;
        EXPECT_EQ(Stream.GetFilePointerPos(), 4u) << nNumber;
    }
}

TEST(ZRProperty, AFailedReadLeavesThePropertyAsItWas)
{
    CZRProperty Read("before");
    CByteStream AtEnd("");
    EXPECT_FALSE(Read.Read(&AtEnd));
    for (std::string const & sCut :
         {Bytes({0x69, 0, 0, 0}), Bytes({0x73, 0, 0, 0}), Bytes({0x62, 0, 0, 0}),
          Bytes({1, 0, 0, 0}), Bytes({0x66, 0, 0, 0}), Bytes({0x6C, 0, 0, 0})})
    {
        CByteStream Cut(sCut);
        EXPECT_FALSE(Read.Read(&Cut));
    }
    EXPECT_STREQ(Read.GetString().GetString(), "before");
}

TEST(ZRProperty, SetTypeConvertsNothing)
{
    CZRProperty Property("text");
    Property.Empty();
    EXPECT_EQ(Property.GetType(), PROP_NONE);
    Property.SetType(PROP_STRING);
    EXPECT_EQ(Property.GetString().GetLength(), 0);

    Property = 2.5f;
    Property.Set(5);
    Property.SetType(PROP_LONG);
    EXPECT_EQ(Property.GetLong(), 5L) << "int and long share their member";
    Property.SetType(PROP_FLOAT);
    EXPECT_EQ(Property.GetFloat(), 2.5f) << "the float member kept its value";
    Property.SetType(PROP_BOOL);
    EXPECT_TRUE(static_cast<bool>(Property));
    EXPECT_TRUE(Property.IsOfType(PROP_BOOL));

    CZRProperty Target(7);
    Target = CZRProperty("copied");
    EXPECT_EQ(Target.GetType(), PROP_STRING);
    CZRProperty const Copy(Target);
    EXPECT_STREQ(static_cast<CZRString>(Copy).GetString(), "copied");
    CZRPath const Path = Copy;
    EXPECT_STREQ(static_cast<CZRString const &>(Path).GetString(), "copied");
    Target = CZRProperty();
    EXPECT_EQ(Target.GetType(), PROP_NONE);
    Target.SetType(PROP_STRING);
    EXPECT_STREQ(Target.GetString().GetString(), "copied") << "a copied PROP_NONE keeps values";
}

TEST(ZRPropertyDeathTest, GettersNeedTheirType)
{
    CZRProperty const Float(1.0f);
    CZRProperty const Int(1);
    EXPECT_DEATH(Float.GetInt(),
                 BannerPattern("GetType() == PROP_INT", "common/property/zrproperty"));
    EXPECT_DEATH(static_cast<long>(Int),
                 BannerPattern("GetType() == PROP_LONG", "common/property/zrproperty"));
    EXPECT_DEATH(static_cast<CZRPath>(Int),
                 BannerPattern("GetType() == PROP_STRING", "common/property/zrproperty"));
    EXPECT_DEATH(Int.GetBool(),
                 BannerPattern("GetType() == PROP_BOOL", "common/property/zrproperty"));
}
