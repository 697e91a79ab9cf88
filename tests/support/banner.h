// The assertion banner as a death-test pattern: the four lines of a failed check with
// the exact expression text and source path; any line number. Regex characters in the
// expression are escaped, so the expression is matched as plain text.
#pragma once

#include <string>

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
           "\nfile: " + sFile + "\nline: [0-9]+\n";
}
