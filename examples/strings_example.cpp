// A small host: builds, formats, cuts and searches strings, splits a path into its
// components and walks a tree of class types, printing what it finds.
#include <cstdio>

#include "common/common.h"

// GetString() of a string that never held text is null.
static char const * Text(CZRString const & sText)
{
    return sText.GetString() != nullptr ? sText.GetString() : "";
}

int main(int argc, char ** argv)
{
    CZRPath Path(argc > 1 ? argv[1] : "maps\\town\\hall.dat");
    std::printf("path:       %s\n", Text(Path));
    std::printf("components: %d\n", Path.GetNumPathComponents());
    for (int i = 0; i < Path.GetNumPathComponents(); ++i)
        std::printf("  [%d] %s\n", i, Path.GetComponent(i, 1).GetString());
    std::printf("directory:  %s\n", Text(Path.GetPath()));
    std::printf("file name:  %s (stem %s, extension %s)\n", Text(Path.GetFileName(true)),
                Text(Path.GetFileName(false)), Text(Path.GetExtension()));

    CZRString sLine;
    sLine.Format("%d components, %s", Path.GetNumPathComponents(), Path.IsUNC() ? "UNC" : "local");
    sLine += " | upper: ";
    CZRString sUpper = static_cast<CZRString const &>(Path);
    sUpper.MakeUpper();
    sLine += sUpper;
    std::printf("%s\n", sLine.GetString());

    CZRClassType Base("Entity");
    CZRClassType Actor("Actor", Base);
    CZRClassType Player("Player", Actor);
    std::printf("class tree: %s (derived from Entity: %s)\n", Player.GetFullName().GetString(),
                Player.IsDerivedFrom(Base) ? "yes" : "no");
    return 0;
}
