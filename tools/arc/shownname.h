// Names as arc shows them: escaped as ls -b does, so that a name with a line break or
// another control character stays on its line and reads back unambiguously.
#pragma once

#include <cstdio>
#include <string>

// A name as ls -b writes it: control characters, backslashes and spaces as C escapes,
// so that every name stays on one line and reads back unambiguously.
inline std::string Escaped(std::string const & sName)
{
    static char const s_szLetters[] = "abtnvfr";
    std::string sShown;
    for (char const cChar : sName)
    {
        unsigned char const ucChar = static_cast<unsigned char>(cChar);
        if (cChar == '\\' || cChar == ' ')
            sShown += std::string("\\") + cChar;
        else if (ucChar >= 7 && ucChar <= 13)
            sShown += std::string("\\") + s_szLetters[ucChar - 7];
        else if (ucChar < 32 || ucChar == 127)
        {
            char szOctal[5];
            std::snprintf(szOctal, sizeof(szOctal), "\\%03o", ucChar);
            sShown += szOctal;
        }
        else
            sShown += cChar;
    }
    return sShown;
}
