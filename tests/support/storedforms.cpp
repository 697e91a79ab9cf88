// storedforms: writes a binary stream, a property manager and a parameter list into a
// directory, or reads them from one and checks every value, so that files written on
// one system can be read on another (scripts/windows-crosscheck.sh runs it on Linux
// and under wine). Exit code 0 when all is well, 1 with the differences on stderr.
#include <cstdio>
#include <cstring>
#include <string>

#include "common/exception/zrexception.h"
#include "common/file/fileio.h"
#include "common/file/vectors.h"
#include "common/property/zrparams.h"
#include "common/property/zrpropertymanager.h"

namespace
{
// A string whose bytes lie outside ASCII: the code page must not change them.
char const * const NAME_BYTES = "caf\xE9 \xC3\xA9t\xE9 | \\path";

int s_nProblems = 0;

void Check(bool bSame, char const * szWhat)
{
    if (!bSame)
    {
        std::fprintf(stderr, "storedforms: %s differs\n", szWhat);
        ++s_nProblems;
    }
}

bool SameBits(float fLeft, float fRight)
{
    return std::memcmp(&fLeft, &fRight, sizeof(float)) == 0;
}

void WriteStream(char const * szPath)
{
    CFileIO File;
    File.Open(szPath, FILEIO_CREATE);
    File.Write(true);
    File.Write('Z');
    File.Write(static_cast<short>(-12345));
    File.Write(static_cast<unsigned short>(54321));
    File.Write(-1234567890);
    File.Write(4000000000u);
    File.Write(-2l);
    File.Write(4000000001ul);
    File.Write(-1.5f);
    File.Write(3.141592653589793);
    File.Write(CZRString(NAME_BYTES));
    File.Write(vector2(1.0f, -2.0f));
    File.Write(vector3(0.5f, 0.25f, 1e30f));
    File.Write(vector4(-0.0f, 7.0f, 1e-30f, 2.0f));
    File.Write("raw\0bytes", 9);
    File.Close();
}

void ReadStream(char const * szPath)
{
    CFileIO File;
    File.Open(szPath, FILEIO_READ);
    bool bBool = false;
    char cChar = 0;
    short sShort = 0;
    unsigned short usShort = 0;
    int nInt = 0;
    unsigned int uInt = 0;
    long lLong = 0;
    unsigned long ulLong = 0;
    float fFloat = 0;
    double dDouble = 0;
    CZRString sString;
    vector2 v2;
    vector3 v3;
    vector4 v4;
    char achRaw[9] = {};
    Check(File.Read(bBool) && bBool, "bool");
    Check(File.Read(cChar) && cChar == 'Z', "char");
    Check(File.Read(sShort) && sShort == -12345, "short");
    Check(File.Read(usShort) && usShort == 54321, "unsigned short");
    Check(File.Read(nInt) && nInt == -1234567890, "int");
    Check(File.Read(uInt) && uInt == 4000000000u, "unsigned int");
    Check(File.Read(lLong) && lLong == -2l, "long");
    Check(File.Read(ulLong) && ulLong == 4000000001ul, "unsigned long");
    Check(File.Read(fFloat) && SameBits(fFloat, -1.5f), "float");
    Check(File.Read(dDouble) && dDouble == 3.141592653589793, "double");
    Check(File.Read(sString) && sString.Compare(NAME_BYTES) == 0, "string");
    Check(File.Read(v2) && SameBits(v2.x, 1.0f) && SameBits(v2.y, -2.0f), "vector2");
    Check(File.Read(v3) && SameBits(v3.x, 0.5f) && SameBits(v3.y, 0.25f) && SameBits(v3.z, 1e30f),
          "vector3");
    Check(File.Read(v4) && SameBits(v4.x, -0.0f) && SameBits(v4.y, 7.0f) &&
              SameBits(v4.z, 1e-30f) && SameBits(v4.w, 2.0f),
          "vector4");
    Check(File.Read(achRaw, 9) && std::memcmp(achRaw, "raw\0bytes", 9) == 0, "raw bytes");
    Check(!File.Read(cChar), "end of the stream");
}

void FillProperties(CZRPropertyManager & Manager)
{
    Manager.SetProperty("Bool", CZRProperty(true));
    Manager.SetProperty("Float", CZRProperty(0.1f));
    Manager.SetProperty("Int", CZRProperty(-7));
    Manager.SetProperty("Long", CZRProperty(-2147483647l - 1));
    Manager.SetProperty("None", CZRProperty());
    Manager.SetProperty("String", CZRProperty(NAME_BYTES));
    Manager.SetProperty("empty", CZRProperty(""));
}

void FillParams(CZRParams & Params)
{
    Params.Add(CZRProperty(2147483647));
    Params.Add(CZRProperty());
    Params.Add(CZRProperty("second"));
    Params.Add(CZRProperty(false));
    Params.Add(CZRProperty(-3.25f));
}

bool SameProperty(CZRProperty const & Left, CZRProperty const & Right)
{
    if (Left.GetType() != Right.GetType())
        return false;
    switch (Left.GetType())
    {
        case PROP_BOOL:
            return Left.GetBool() == Right.GetBool();
        case PROP_FLOAT:
            return SameBits(Left.GetFloat(), Right.GetFloat());
        case PROP_INT:
            return Left.GetInt() == Right.GetInt();
        case PROP_LONG:
            return Left.GetLong() == Right.GetLong();
        case PROP_STRING:
            return Left.GetString().Compare(Right.GetString()) == 0;
        default:
            return true;
    }
}

void WriteProperties(char const * szPath)
{
    CZRPropertyManager Manager;
    FillProperties(Manager);
    CFileIO File;
    File.Open(szPath, FILEIO_CREATE);
    Check(Manager.Write(&File), "writing the property manager");
}

void ReadProperties(char const * szPath)
{
    CZRPropertyManager Expected;
    FillProperties(Expected);
    CZRPropertyManager Manager;
    CFileIO File;
    File.Open(szPath, FILEIO_READ);
    Check(Manager.Read(&File), "reading the property manager");
    Check(Manager.GetPropertyCount() == Expected.GetPropertyCount(), "property count");
    CZRString sName;
    CZRProperty Value;
    ZR_LONG_PTR lPos = 0;
    for (bool bMore = Expected.GetFirstProperty(sName, Value, lPos); bMore;
         bMore = Expected.GetNextProperty(sName, Value, lPos))
    {
        CZRProperty Read;
        Manager.GetProperty(sName, Read);
        Check(Manager.HasProperty(sName) && SameProperty(Read, Value), sName.GetString());
    }
}

void WriteParams(char const * szPath)
{
    CZRParams Params;
    FillParams(Params);
    CFileIO File;
    File.Open(szPath, FILEIO_CREATE);
    Check(Params.Write(&File), "writing the parameter list");
}

void ReadParams(char const * szPath)
{
    CZRParams Expected;
    FillParams(Expected);
    CZRParams Params;
    CFileIO File;
    File.Open(szPath, FILEIO_READ);
    Check(Params.Read(&File), "reading the parameter list");
    Check(Params.GetCount() == Expected.GetCount(), "parameter count");
    for (std::int32_t lIndex = 0; lIndex < Expected.GetCount() && lIndex < Params.GetCount();
         ++lIndex)
        Check(SameProperty(Params.Get(lIndex), Expected.Get(lIndex)),
              ("parameter " + std::to_string(lIndex)).c_str());
}
} // namespace

int main(int nArgs, char ** apszArgs)
{
    std::string const sMode = nArgs == 3 ? apszArgs[1] : "";
    if (sMode != "write" && sMode != "read")
    {
        std::fprintf(stderr, "Usage: storedforms write|read DIRECTORY\n");
        return 2;
    }
    std::string const sDirectory = std::string(apszArgs[2]) + "/";
    std::string const sStream = sDirectory + "stream.bin";
    std::string const sProperties = sDirectory + "properties.bin";
    std::string const sParams = sDirectory + "params.bin";
    try
    {
        if (sMode == "write")
        {
            WriteStream(sStream.c_str());
            WriteProperties(sProperties.c_str());
            WriteParams(sParams.c_str());
        }
        else
        {
            ReadStream(sStream.c_str());
            ReadProperties(sProperties.c_str());
            ReadParams(sParams.c_str());
        }
    }
    catch (CZRException const & Error)
    {
        std::fprintf(stderr, "storedforms: error %u: %s\n", Error.GetErrorCode(),
                     Error.GetErrorString());
        return 1;
    }
    return s_nProblems == 0 ? 0 : 1;
}
