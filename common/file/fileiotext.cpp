// The text form of CFileIO is not part of the library yet: each of its operations
// ends in a failed check, so that no caller mistakes a missing reader for an empty
// stream. RememberParsePos and StepBack, on which it rests, are here already.
#include "common/file/fileio.h"

#include "common/kernel/debug.h"

static char const s_szSourceFile[] = "common/file/fileio";

namespace
{
[[noreturn]] void TextFormMissing(int nLine)
{
    Debug_Assert("\"Not yet \" == \"implemented\"", s_szSourceFile, nLine);
}
} // namespace

bool CFileIO::ReadAscii(unsigned long &, char)
{
    TextFormMissing(__LINE__);
}

bool CFileIO::ReadAscii(long &, char)
{
    TextFormMissing(__LINE__);
}

bool CFileIO::ReadAscii(float &, char)
{
    TextFormMissing(__LINE__);
}

bool CFileIO::ReadAscii(int &, char)
{
    TextFormMissing(__LINE__);
}

bool CFileIO::ReadAscii(CZRString &)
{
    TextFormMissing(__LINE__);
}

bool CFileIO::ReadAscii(char &, bool)
{
    TextFormMissing(__LINE__);
}

bool CFileIO::ReadConstAscii(CZRString const &)
{
    TextFormMissing(__LINE__);
}

bool CFileIO::ReadConstAscii(char)
{
    TextFormMissing(__LINE__);
}

bool CFileIO::WriteAscii(unsigned long)
{
    TextFormMissing(__LINE__);
}

bool CFileIO::WriteAscii(long)
{
    TextFormMissing(__LINE__);
}

bool CFileIO::WriteAscii(float)
{
    TextFormMissing(__LINE__);
}

bool CFileIO::WriteAscii(int)
{
    TextFormMissing(__LINE__);
}

bool CFileIO::WriteAscii(CZRString const &)
{
    TextFormMissing(__LINE__);
}

bool CFileIO::WriteAscii(char)
{
    TextFormMissing(__LINE__);
}

bool CFileIO::WriteConstAscii(char)
{
    TextFormMissing(__LINE__);
}

bool CFileIO::WriteConstAscii(CZRString const &)
{
    TextFormMissing(__LINE__);
}

bool CFileIO::ReadLine(void *, unsigned int)
{
    TextFormMissing(__LINE__);
}

void CFileIO::StepBack()
{
    SetFilePointerPos(m_ulParsePos);
}

void CFileIO::RememberParsePos()
{
    m_ulParsePos = GetFilePointerPos();
}
