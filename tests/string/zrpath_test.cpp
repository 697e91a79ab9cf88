#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "common/string/zrpath.h"

static std::string Text(CZRString const & s)
{
    return s.GetString() != nullptr ? s.GetString() : "";
}

static std::string Text(CZRPath const & Path)
{
    return Text(static_cast<CZRString const &>(Path));
}

// Applies one edit to a copy of the path and gives the text afterwards.
template <typename Edit>
static std::string Edited(char const * szPath, Edit EditPath)
{
    CZRPath Path(szPath);
    EditPath(Path);
    return Text(Path);
}

TEST(ZRPath, RootsDrivesAndUNC)
{
    EXPECT_EQ(Text(CZRPath::BuildRoot(2)), "C:\\");
    EXPECT_EQ(Text(CZRPath::BuildRoot(25)), "Z:\\");
    EXPECT_TRUE(CZRPath::BuildRoot(26).IsEmpty());
    EXPECT_TRUE(CZRPath::BuildRoot(-1).IsEmpty());
    EXPECT_EQ(CZRPath("c:\\x").GetDriveNumber(), 2);
    EXPECT_EQ(CZRPath("C:").GetDriveNumber(), 2);
    EXPECT_EQ(CZRPath("ab").GetDriveNumber(), -1);
    EXPECT_EQ(CZRPath("1:").GetDriveNumber(), -1);
    EXPECT_EQ(CZRPath().GetDriveNumber(), -1);
    EXPECT_TRUE(CZRPath("\\\\x").IsUNC());
    EXPECT_FALSE(CZRPath("//x").IsUNC());
    EXPECT_FALSE(CZRPath("\\x").IsUNC());
    EXPECT_FALSE(CZRPath("\\").IsUNC());
    EXPECT_FALSE(CZRPath().IsUNC());
}

TEST(ZRPath, SlashesEachKnowTheirOwn)
{
    EXPECT_TRUE(CZRPath("\\a").HasLeadingBackslash());
    EXPECT_FALSE(CZRPath("/a").HasLeadingBackslash());
    EXPECT_TRUE(CZRPath("/a").HasLeadingSlash());
    EXPECT_TRUE(CZRPath("a/").HasTrailingForwardslash());
    EXPECT_FALSE(CZRPath("a/").HasTrailingBackslash());
    CZRPath const Empty;
    EXPECT_FALSE(Empty.HasLeadingSlash() || Empty.HasTrailingSlash() ||
                 Empty.HasLeadingForwardslash() || Empty.HasTrailingBackslash());

    EXPECT_EQ(Edited("a/", [](CZRPath & p) { p.AddTrailingBackslash(); }), "a/\\");
    EXPECT_EQ(Edited("a\\", [](CZRPath & p) { p.AddTrailingBackslash(); }), "a\\");
    EXPECT_EQ(Edited("/a", [](CZRPath & p) { p.AddLeadingBackslash(); }), "\\/a");
    EXPECT_EQ(Edited("\\a", [](CZRPath & p) { p.AddLeadingBackslash(); }), "\\a");
    EXPECT_EQ(Edited("ab\\", [](CZRPath & p) { p.RemoveTrailingBackslash(); }), "ab");
    EXPECT_EQ(Edited("ab", [](CZRPath & p) { p.RemoveTrailingBackslash(); }), "ab");
    EXPECT_EQ(Edited("ab/", [](CZRPath & p) { p.RemoveTrailingBackslash(); }), "ab/");
    EXPECT_EQ(Edited("ab/", [](CZRPath & p) { p.RemoveTrailingForwardslash(); }), "ab");
    EXPECT_EQ(Edited("\\ab", [](CZRPath & p) { p.RemoveLeadingBackslash(); }), "ab");
    EXPECT_EQ(Edited("\\", [](CZRPath & p) { p.RemoveLeadingBackslash(); }), "");
    EXPECT_EQ(Edited("", [](CZRPath & p) { p.RemoveTrailingBackslash(); }), "");
    EXPECT_EQ(Edited("", [](CZRPath & p) { p.AddTrailingBackslash(); }), "\\");

    EXPECT_EQ(Edited("a/", [](CZRPath & p) { p.Append(CZRPath("b")); }), "a/\\b");
    EXPECT_EQ(Edited("a", [](CZRPath & p) { p.Append(CZRPath("\\b")); }), "a\\\\b");
    EXPECT_EQ(Edited("a\\", [](CZRPath & p) { p += CZRPath("b"); }), "a\\b");
    EXPECT_EQ(Edited("", [](CZRPath & p) { p += CZRPath("b"); }), "b");

    CZRPath Path("a\\b\\c");
    EXPECT_EQ(Path.MakeForwardslashes(), 2);
    EXPECT_EQ(Text(Path), "a/b/c");
    EXPECT_EQ(Path.MakeBackwardslashes(), 2);
    EXPECT_EQ(Text(Path), "a\\b\\c");
}

TEST(ZRPath, Extensions)
{
    EXPECT_EQ(CZRPath("a.b\\c").FindExtension(), 1);
    EXPECT_EQ(Text(CZRPath("a\\b.txt").GetExtension()), ".txt");
    EXPECT_EQ(Text(CZRPath("a\\b").GetExtension()), "");
    EXPECT_EQ(Edited("a", [](CZRPath & p) { p.AddExtension(".txt"); }), "a.txt");
    EXPECT_EQ(Edited("a.b", [](CZRPath & p) { p.AddExtension(".txt"); }), "a.b");
    EXPECT_EQ(Edited("a", [](CZRPath & p) { p.AddExtension("txt"); }), "a");
    EXPECT_EQ(Edited("a", [](CZRPath & p) { p.AddExtension(""); }), "a");
    EXPECT_EQ(Edited("a.b\\c", [](CZRPath & p) { p.RemoveExtension(); }), "a");
}

TEST(ZRPath, PathAndFileName)
{
    char const * aszPaths[][2] = {{"a\\b.txt", "a"}, {"a\\b\\", "a\\b"}, {"c:\\x", "c:"},
                                  {"a/b\\c", "a/b"}, {"x", ""},          {"\\x", ""}};
    for (auto const & Row : aszPaths)
        EXPECT_EQ(Text(CZRPath(Row[0]).GetPath()), Row[1]) << Row[0];
    EXPECT_EQ(Edited("a\\b.txt", [](CZRPath & p) { p.StripPath(); }), "\\b.txt");
    EXPECT_EQ(Edited("a\\b\\", [](CZRPath & p) { p.StripPath(); }), "\\");
    EXPECT_EQ(Edited("x", [](CZRPath & p) { p.StripPath(); }), "x");
    EXPECT_EQ(Edited("a/b", [](CZRPath & p) { p.StripPath(), p.StripPath(); }), "/b");

    // Path, name with extension, name without.
    char const * aszNames[][3] = {
        {"a\\b.txt", "b.txt", "b"}, {"a\\b\\", "b", "b"}, {"a.b.c", "a.b.c", "a.b"},
        {"a\\.cfg", ".cfg", ""},    {"", "", ""},         {"\\", "", ""}};
    for (auto const & Row : aszNames)
    {
        EXPECT_EQ(Text(CZRPath(Row[0]).GetFileName(true)), Row[1]) << Row[0];
        EXPECT_EQ(Text(CZRPath(Row[0]).GetFileName(false)), Row[2]) << Row[0];
    }
}

TEST(ZRPath, ComponentsCountAndRanges)
{
    char const * szPaths[] = {"",      "a",      "a\\b",       "a\\b\\", "\\a\\b", "c:\\",
                              "c:\\x", "a\\\\b", "\\\\srv\\x", "\\",     "a/b\\c"};
    int const nCounts[] = {0, 1, 2, 2, 2, 1, 2, 3, 3, 0, 3};
    for (size_t i = 0; i < sizeof(nCounts) / sizeof(nCounts[0]); ++i)
        EXPECT_EQ(CZRPath(szPaths[i]).GetNumPathComponents(), nCounts[i]) << szPaths[i];

    std::tuple<char const *, int, int, char const *> const aRanges[] = {
        {"a\\b\\c", 0, 1, "a"},    {"a\\b\\c", 1, 1, "b"},    {"a\\b\\c", 2, 1, "c"},
        {"a\\b\\c", 0, 2, "a\\b"}, {"a\\b\\c", 1, 5, "b\\c"}, {"a\\b\\c", 1, 0, ""},
        {"\\a\\b", 0, 1, "a"},     {"a\\b\\", 1, 1, "b"},     {"a\\b\\", 1, 2, "b\\"},
        {"a\\b", 5, 1, "a\\b"},    {"a\\\\b", 1, 1, ""},      {"", 0, 1, ""}};
    for (auto const & Row : aRanges)
        EXPECT_EQ(Text(CZRPath(std::get<0>(Row)).GetComponent(std::get<1>(Row), std::get<2>(Row))),
                  std::get<3>(Row))
            << std::get<0>(Row) << " " << std::get<1>(Row) << "+" << std::get<2>(Row);
}

TEST(ZRPath, SameBelowAbove)
{
    CZRPath const Ab("a\\b");
    EXPECT_FALSE(Ab.IsSame(CZRPath("a\\b\\"), 0, false, false));
    EXPECT_TRUE(Ab.IsSame(CZRPath("a\\b\\"), 0, false, true));
    EXPECT_FALSE(Ab.IsSame(CZRPath("\\a\\b"), 0, false, false));
    EXPECT_TRUE(Ab.IsSame(CZRPath("\\a\\b"), 0, true, false));
    EXPECT_TRUE(CZRPath("\\a\\b\\").IsSame(Ab, 0, true, true));
    EXPECT_TRUE(CZRPath("A\\B").IsSame(Ab, 0, false, false));
    EXPECT_FALSE(CZRPath("a/b").IsSame(Ab, 0, true, true)); // separators compared as text
    EXPECT_TRUE(CZRPath().IsSame(CZRPath(), 0, false, false));

    EXPECT_TRUE(Ab.IsBelow(CZRPath("a\\b\\c")));
    EXPECT_FALSE(CZRPath("a\\b\\c").IsBelow(Ab));
    EXPECT_FALSE(Ab.IsBelow(Ab));
    EXPECT_FALSE(Ab.IsBelow(CZRPath("a\\x\\c")));
    EXPECT_TRUE(CZRPath().IsBelow(Ab));
    EXPECT_TRUE(CZRPath("a\\b\\c").IsAbove(Ab));
    EXPECT_FALSE(Ab.IsAbove(CZRPath("a\\b\\c")));

    EXPECT_FALSE(CZRPath("a").IsAboveOrSame(CZRPath("b")));
    EXPECT_TRUE(Ab.IsAboveOrSame(CZRPath("A\\B")));
    EXPECT_TRUE(Ab.IsAboveOrSame(CZRPath("a")));
    EXPECT_FALSE(Ab.IsBelowOrSame(CZRPath("a")));
    EXPECT_TRUE(Ab.IsBelowOrSame(CZRPath("a\\b\\")));
    EXPECT_TRUE(CZRPath("a").IsBelowOrSame(Ab));
}

TEST(ZRPath, PrettyIsLowerCaseAndCompactChangesNothing)
{
    CZRPath Path(CZRString("Dir\\File.TXT"));
    Path.CompactPath(CZRPath("x"), 3);
    EXPECT_EQ(Text(Path), "Dir\\File.TXT");
    Path.MakePretty();
    EXPECT_EQ(Text(Path), "dir\\file.txt");
}
