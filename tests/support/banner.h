// The assertion banner as a death-test pattern: the four lines of a failed check with
// the exact expression text and source path; any line number. Regex characters in the
// expression are escaped, so the expression is matched as plain text.
#pragma once

#include <string>

#include <gtest/gtest.h>

// One or more digits. GoogleTest matches with POSIX regular expressions where the system
// has them and with its own simple ones elsewhere (Windows), which know \d but no brackets.
inline std::string DigitsPattern()
{
#if GTEST_USES_SIMPLE_RE
    return "\\d+";
#else
    return "[0-9]+";
#endif
}

inline std::string BannerPattern(std::string const & sExpression, std::string const & sFile)
{
    std::string sEscaped;
    for (char const c : sExpression)
    {
        if (std::string("\\^$.|?*+()[]{}").find(c) != std::string::npos)
            sEscaped += '\\';
        sEscaped += c;
    }
    return "\\*\\*\\* TOLLENSTRAND ASSERTION \\*\\*\\*\nexpression: " + sEscaped +
           "\nfile: " + sFile + "\nline: " + DigitsPattern() + "\n";
}
