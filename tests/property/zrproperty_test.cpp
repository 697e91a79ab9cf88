#include <gtest/gtest.h>

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

TEST(ZRProperty, EachTypeHasItsStoredFormAndReadsItBack)
{
    struct
    {
        CZRProperty Property;
        std::string sBytes;
    } const aRows[] = {
        {CZRProperty(true), Bytes({0x62, 0, 0, 0, 1})},
        {CZRProperty(false), Bytes({0x62, 0, 0, 0, 0})},
        {CZRProperty(7), Bytes({0x69, 0, 0, 0, 7, 0, 0, 0})},
        {CZRProperty(-1L), Bytes({0x6C, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF})},
        {CZRProperty(1.0f), Bytes({0x66, 0, 0, 0, 0, 0, 0x80, 0x3F})},
        {CZRProperty(CZRString("ab")), Bytes({0x73, 0, 0, 0, 2, 0, 0, 0, 'a', 'b'})},
        {CZRProperty(""), Bytes({0x73, 0, 0, 0, 0, 0, 0, 0})},
        {CZRProperty(), Bytes({0x2D, 0, 0, 0})},
    };
    // One property reads every row, so an empty string and PROP_NONE must replace the
    // value that the row before left.
    CZRProperty Read;
    for (auto const & Row : aRows)
    {
        SCOPED_TRACE(Row.sBytes.size());
        EXPECT_EQ(Stored(Row.Property), Row.sBytes);
        CByteStream Stream(Row.sBytes);
        ASSERT_TRUE(Read.Read(&Stream));
        EXPECT_EQ(Stored(Read), Row.sBytes);
        EXPECT_TRUE(Stream.IsEof());
    }
    EXPECT_FALSE(CZRProperty(1).Write(nullptr));
    EXPECT_FALSE(Read.Read(nullptr));
}

TEST(ZRProperty, ReadsTheOlderNumberingAndUnknownNumbersHaveNoValueBytes)
{
    struct
    {
        std::string sBytes;
        CZRProperty Expected;
    } const aRows[] = {
        {Bytes({1, 0, 0, 0, 2, 0, 0, 0}), CZRProperty(true)}, // the older bool is 4 bytes
        {Bytes({1, 0, 0, 0, 0, 0, 0, 0}), CZRProperty(false)},
        {Bytes({0x62, 0, 0, 0, 2}), CZRProperty(true)},
        {Bytes({2, 0, 0, 0, 9, 0, 0, 0}), CZRProperty(9)},
        {Bytes({3, 0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF}), CZRProperty(-2L)},
        {Bytes({4, 0, 0, 0, 0, 0, 0x20, 0x40}), CZRProperty(2.5f)},
        {Bytes({5, 0, 0, 0, 1, 0, 0, 0, 'z'}), CZRProperty("z")},
        {Bytes({0xFF, 0, 0, 0}), CZRProperty()},
        {Bytes({0, 0, 0, 0}), CZRProperty()},
        {Bytes({6, 0, 0, 0}), CZRProperty()},
        {Bytes({31, 0, 0, 0}), CZRProperty()},
        {Bytes({32, 0, 0, 0}), CZRProperty()},
        {Bytes({45, 0, 0, 0}), CZRProperty()},
        {Bytes({97, 0, 0, 0}), CZRProperty()},
        {Bytes({0, 1, 0, 0}), CZRProperty()},
        {Bytes({0xFF, 0xFF, 0xFF, 0xFF}), CZRProperty()},
    };
    for (auto const & Row : aRows)
    {
        SCOPED_TRACE(static_cast<int>(static_cast<unsigned char>(Row.sBytes[0])));
        CByteStream Stream(Row.sBytes + "rest");
        CZRProperty Read(3);
        EXPECT_TRUE(Read.Read(&Stream));
        EXPECT_EQ(Stored(Read), Stored(Row.Expected));
        EXPECT_EQ(Stream.GetFilePointerPos(), Row.sBytes.size());
    }
}

TEST(ZRProperty, AFailedReadLeavesThePropertyAsItWas)
{
    CZRProperty Read("before");
    for (std::string const & sCut :
         {std::string(), Bytes({0x69, 0, 0, 0}), Bytes({0x73, 0, 0, 0}), Bytes({0x62, 0, 0, 0}),
          Bytes({1, 0, 0, 0}), Bytes({0x66, 0, 0, 0}), Bytes({0x6C, 0, 0, 0})})
    {
        CByteStream Cut(sCut);
        EXPECT_FALSE(Read.Read(&Cut)) << sCut.size();
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
    CZRProperty const Copy(Target);
    EXPECT_STREQ(static_cast<char const *>(Copy), "copied");
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
    char const szFile[] = "common/property/zrproperty";
    EXPECT_DEATH(Float.GetInt(), BannerPattern("GetType() == PROP_INT", szFile));
    EXPECT_DEATH(static_cast<long>(Int), BannerPattern("GetType() == PROP_LONG", szFile));
    EXPECT_DEATH(static_cast<CZRPath>(Int), BannerPattern("GetType() == PROP_STRING", szFile));
    EXPECT_DEATH(Int.GetBool(), BannerPattern("GetType() == PROP_BOOL", szFile));
}
