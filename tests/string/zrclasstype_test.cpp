#include <gtest/gtest.h>

#include <string>

#include "common/string/zrclasstype.h"

TEST(ZRClassType, TreeByAddressAndNames)
{
    CZRClassType const Base("Base");
    CZRClassType const Middle("Middle", Base);
    CZRClassType Leaf("Leaf", Middle);
    CZRClassType const OtherBase("Base");

    EXPECT_TRUE(Leaf.IsDerivedFrom(Leaf));
    EXPECT_TRUE(Leaf.IsDerivedFrom(Base));
    EXPECT_FALSE(Base.IsDerivedFrom(Middle));
    EXPECT_FALSE(Leaf.IsDerivedFrom(OtherBase)); // same name, other type
    EXPECT_EQ(Leaf.GetParentType(), &Middle);
    EXPECT_EQ(Base.GetParentType(), nullptr);

    CZRClassType Copy(Leaf);
    EXPECT_FALSE(Leaf.IsDerivedFrom(Copy)); // a copy is a new type
    EXPECT_TRUE(Copy.IsDerivedFrom(Middle));

    EXPECT_STREQ(Leaf.GetFullName().GetString(), "Base/Middle/Leaf/");
    CZRClassType Root("Base");
    EXPECT_STREQ(Root.GetFullName().GetString(), "Base/");
    EXPECT_STREQ(Leaf.GetName(), "Leaf");
    EXPECT_STREQ(static_cast<char const *>(Leaf), "Leaf");
    EXPECT_EQ(static_cast<CZRString const &>(Middle).Compare("Middle"), 0);

    CZRClassType Unnamed(nullptr);
    EXPECT_TRUE(static_cast<CZRString const &>(Unnamed).IsEmpty());
    EXPECT_STREQ(Unnamed.GetFullName().GetString(), "/");
}
