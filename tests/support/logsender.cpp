// logsender: logs through the library's mailslot sink what its stdin asks for, one
// command a line, fields separated by tabs, so that a test can have records sent by
// another process at the moments it chooses:
//   log FILE LOG CONTEXT LINE LEVEL MESSAGE   one record (the line as unsigned 32 bits)
//   burst LOG COUNT PREFIX                    COUNT records "PREFIX0", "PREFIX1", ...
//   exit                                      ends at once with 0, closing nothing
// It ends with 0 at the end of its input, with 1 when logging raised.
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "common/log/zrlog.h"

namespace
{
std::vector<std::string> Fields(std::string const & sLine)
{
    std::vector<std::string> vFields;
    std::size_t nStart = 0;
    for (std::size_t nTab; (nTab = sLine.find('\t', nStart)) != std::string::npos;
         nStart = nTab + 1)
        vFields.push_back(sLine.substr(nStart, nTab - nStart));
    vFields.push_back(sLine.substr(nStart));
    return vFields;
}

std::uint32_t Number(std::string const & sText)
{
    return static_cast<std::uint32_t>(std::strtoul(sText.c_str(), nullptr, 10));
}

bool Run(std::vector<std::string> const & vCommand)
{
    if (vCommand[0] == "log" && vCommand.size() == 7)
        _ZR_Log_Fn(vCommand[1].c_str(), vCommand[2].c_str(), vCommand[3].c_str(),
                   Number(vCommand[4]), 0, LOG_MAILSLOT, Number(vCommand[5]), "%s",
                   vCommand[6].c_str());
    else if (vCommand[0] == "burst" && vCommand.size() == 4)
        for (std::uint32_t ulRecord = 0; ulRecord < Number(vCommand[2]); ++ulRecord)
            _ZR_Log_Fn("a.src", vCommand[1].c_str(), "", 1, 0, LOG_MAILSLOT, 5, "%s%u",
                       vCommand[3].c_str(), ulRecord);
    else if (vCommand[0] == "exit" && vCommand.size() == 1)
        std::_Exit(0);
    else
        return false;
    return true;
}
} // namespace

int main()
{
    std::string sLine;
    try
    {
        while (std::getline(std::cin, sLine))
        {
            if (!sLine.empty() && sLine.back() == '\r')
                sLine.pop_back();
            if (!Run(Fields(sLine)))
            {
                std::fprintf(stderr, "logsender: not a command: %s\n", sLine.c_str());
                return 2;
            }
        }
    }
    catch (...)
    {
        return 1;
    }
    return 0;
}
