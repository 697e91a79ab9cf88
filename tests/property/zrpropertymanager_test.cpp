#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "banner.h"
#include "common/property/zrpropertymanager.h"
#include "streambytes.h"

namespace
{
std::string Stored(CZRPropertyManager & Manager)
{
    CMemFileIO Stream;
    EXPECT_TRUE(Manager.Write(&Stream));
    return Contents(Stream);
}

std::vector<std::string> Names(CZRPropertyManager const & Manager)
{
    std::vector<std::string> vNames;
    CZRString sName;
    CZRProperty Value;
    ZR_LONG_PTR lPos = 0;
    for (bool bMore = Manager.GetFirstProperty(sName, Value, lPos); bMore;
         bMore = Manager.GetNextProperty(sName, Value, lPos))
        vNames.push_back(sName.GetString());
    return vNames;
}
} // namespace

TEST(ZRPropertyManager, StoresItsEntriesInKeyOrder)
{
    CZRPropertyManager Manager;
    EXPECT_EQ(Stored(Manager), Bytes({0, 0, 0, 0}));
    Manager.SetProperty("Size", CZRProperty(7));
    EXPECT_EQ(Stored(Manager),
              Bytes({1, 0, 0, 0, 4, 0, 0, 0, 'S', 'i', 'z', 'e', 0x69, 0, 0, 0, 7, 0, 0, 0}));
    Manager.RemoveAllProperties();
    Manager.SetProperty("b", CZRProperty(true));
    Manager.SetProperty(CZRString("a"), CZRProperty());
    Manager.SetProperty("B", CZRProperty("x"));
    EXPECT_EQ(Stored(Manager),
              Bytes({3, 0, 0, 0, 1,   0,    0, 0, 'B', 0x73, 0, 0, 0, 1, 0, 0, 0, 'x', //
                     1, 0, 0, 0, 'a', 0x2D, 0, 0, 0,                                   //
                     1, 0, 0, 0, 'b', 0x62, 0, 0, 0,   1}));
    EXPECT_EQ(Names(Manager), (std::vector<std::string>{"B", "a", "b"}));
}

TEST(ZRPropertyManager, NamesAreSetFoundAndRemoved)
{
    CZRPropertyManager Manager;
    Manager.SetProperty("Name", CZRProperty(1));
    Manager.SetProperty("name", CZRProperty(2));
    Manager.SetProperty("Name", CZRProperty("replaced"));
    EXPECT_EQ(Manager.GetPropertyCount(), 2);
    CZRProperty Value(9);
    Manager.GetProperty("Name", Value);
    EXPECT_STREQ(Value.GetString().GetString(), "replaced");
    Manager.GetProperty(CZRString("missing"), Value);
    EXPECT_EQ(Value.GetType(), PROP_NONE);
    Value.SetType(PROP_STRING);
    EXPECT_STREQ(Value.GetString().GetString(), "replaced") << "a miss touches only the type";

    Manager.SetProperty("empty", CZRProperty());
    EXPECT_TRUE(Manager.HasProperty("empty"));
    EXPECT_FALSE(Manager.HasProperty(CZRString("NAME")));
    Manager.RemoveProperty("empty");
    Manager.RemoveProperty("never there");
    EXPECT_EQ(Names(Manager), (std::vector<std::string>{"Name", "name"}));
}

TEST(ZRPropertyManager, MissesGiveTheStandByAndOnlyOperatorIndexInserts)
{
    CZRPropertyManager Manager;
    Manager.SetProperty("hit", CZRProperty(3));
    Manager.FindProperty(CZRString("hit")) = 4;
    EXPECT_EQ(Manager.FindProperty(CZRString("hit")).GetInt(), 4) << "a hit is the stored value";

    CZRProperty & Miss = Manager.FindProperty(CZRString("miss"));
    EXPECT_EQ(Miss.GetType(), PROP_NONE);
    Miss = 5;
    EXPECT_FALSE(Manager.HasProperty("miss")) << "assigning to the stand-by stores nothing";
    CZRPropertyManager Other;
    EXPECT_EQ(&Other.FindProperty(CZRString("x")), &Miss) << "one stand-by for all managers";
    EXPECT_EQ(Miss.GetType(), PROP_NONE) << "the next miss made it PROP_NONE again";

    CZRPropertyManager const & Const = Manager;
    EXPECT_NE(&Const["miss"], &Miss) << "each overload has a stand-by of its own";
    EXPECT_EQ(Const["miss"].GetType(), PROP_NONE);
    EXPECT_EQ(Const["hit"].GetInt(), 4);
    EXPECT_EQ(Manager.GetPropertyCount(), 1);

    Manager["miss"] = 6;
    Manager["new"];
    EXPECT_EQ(Names(Manager), (std::vector<std::string>{"hit", "miss", "new"}));
    EXPECT_EQ(Manager.FindProperty(CZRString("miss")).GetInt(), 6);
    EXPECT_EQ(Manager.FindProperty(CZRString("new")).GetType(), PROP_NONE);
}

TEST(ZRPropertyManager, TheWalkMeetsEntriesAddedBehindTheCursor)
{
    CZRPropertyManager Manager;
    CZRString sName("unchanged");
    CZRProperty Value(1);
    ZR_LONG_PTR lPos = 77;
    EXPECT_FALSE(Manager.GetFirstProperty(sName, Value, lPos));
    EXPECT_STREQ(sName.GetString(), "unchanged");
    EXPECT_EQ(Value.GetInt(), 1);

    Manager.SetProperty("b", CZRProperty(2));
    Manager.SetProperty("d", CZRProperty(4));
    ASSERT_TRUE(Manager.GetFirstProperty(sName, Value, lPos));
    EXPECT_STREQ(sName.GetString(), "b");
    Manager.SetProperty("a", CZRProperty(1));
    Manager.SetProperty("c", CZRProperty(3));
    ASSERT_TRUE(Manager.GetNextProperty(sName, Value, lPos));
    EXPECT_STREQ(sName.GetString(), "c");
    EXPECT_EQ(Value.GetInt(), 3);
    ASSERT_TRUE(Manager.GetNextProperty(sName, Value, lPos));
    long const lLast = lPos;
    EXPECT_FALSE(Manager.GetNextProperty(sName, Value, lPos));
    EXPECT_FALSE(Manager.GetNextProperty(sName, Value, lPos));
    EXPECT_EQ(lPos, lLast);
    EXPECT_STREQ(sName.GetString(), "d");
    EXPECT_EQ(Value.GetInt(), 4);
}

TEST(ZRPropertyManager, ReadMergesIntoWhatIsThere)
{
    CZRPropertyManager Written;
    Written.SetProperty("b", CZRProperty("from the stream"));
    Written.SetProperty("c", CZRProperty());
    Written.SetProperty("d", CZRProperty(2.5f));
    CMemFileIO Stream;
    ASSERT_TRUE(Written.Write(&Stream));

    CZRPropertyManager Manager;
    Manager.SetProperty("a", CZRProperty(1));
    Manager.SetProperty("b", CZRProperty(2));
    ASSERT_TRUE(Stream.SetFilePointerPos(0));
    EXPECT_TRUE(Manager.Read(&Stream));
    CZRPropertyManager Merged(Written);
    Merged.SetProperty("a", CZRProperty(1));
    std::string const sMerged = Stored(Merged);
    EXPECT_EQ(Stored(Manager), sMerged);

    EXPECT_FALSE(Manager.Read(&Stream)) << "at the end";
    CByteStream Negative(Bytes({0xFF, 0xFF, 0xFF, 0xFF}));
    EXPECT_TRUE(Manager.Read(&Negative));
    EXPECT_EQ(Stored(Manager), sMerged);
}

TEST(ZRPropertyManager, ACutStreamKeepsTheEntriesBeforeTheCut)
{
    CZRPropertyManager Written;
    for (char const * szName : {"a", "b", "c", "d", "e"})
        Written.SetProperty(szName, CZRProperty(szName));
    CMemFileIO Stream;
    ASSERT_TRUE(Written.Write(&Stream));
    // Each entry is 4 + 1 bytes of name and 4 + 4 + 1 of value: cut inside the third.
    Stream.SetSize(4 + 2 * 14 + 7);
    ASSERT_TRUE(Stream.SetFilePointerPos(0));
    CZRPropertyManager Manager;
    EXPECT_FALSE(Manager.Read(&Stream));
    EXPECT_EQ(Names(Manager), (std::vector<std::string>{"a", "b"}));

    // SetSize clears nothing: the whole record is there again.
    Stream.SetSize(4 + 5 * 14);
    ASSERT_TRUE(Stream.SetFilePointerPos(0));
    ASSERT_TRUE(Manager.Read(&Stream));
    EXPECT_EQ(Stored(Manager), Contents(Stream));
}

TEST(ZRPropertyManagerDeathTest, StreamsMustNotBeNull)
{
    CZRPropertyManager Manager;
    std::string const sPattern =
        BannerPattern("pFile != NULL", "common/property/zrpropertymanager");
    EXPECT_DEATH(Manager.Read(nullptr), sPattern);
    EXPECT_DEATH(Manager.Write(nullptr), sPattern);
}
