// Text helpers for the log tests: this machine's name, and a match of a log text in
// which the tick counts (the one part a test cannot know) stand between given parts.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "testos.h"

inline std::string HostName()
{
    return TEST_ComputerName();
}

// Whether sText is exactly vParts joined by ticks, each a nonempty run of "-0123456789".
inline bool MatchesWithTicks(std::string const & sText, std::vector<std::string> const & vParts)
{
    std::size_t nPos = 0;
    for (std::size_t i = 0; i < vParts.size(); ++i)
    {
        if (i > 0)
        {
            std::size_t const nTickEnd =
                std::min(sText.find_first_not_of("-0123456789", nPos), sText.size());
            if (nTickEnd == nPos)
                return false;
            nPos = nTickEnd;
        }
        if (sText.compare(nPos, vParts[i].size(), vParts[i]) != 0)
            return false;
        nPos += vParts[i].size();
    }
    return nPos == sText.size();
}
