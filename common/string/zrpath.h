// CZRPath: the text of a file path and the rules for editing and comparing it. Text
// only: it never touches the disk, never asks for a current directory, and resolves
// neither "." nor "..". Both slashes may be mixed, but each operation has its own rule
// on which slash it knows and whether case matters; the comments below say which.
// Operations on a path too short for their test give the plain answer (false, -1, no
// change, empty text) rather than a failed check.
#pragma once

#include "common/kernel/api.h"
#include "common/string/zrstring.h"

class COMMON_API CZRPath
{
public:
    CZRPath();
    CZRPath(char const * szPath);
    CZRPath(CZRString const & sPath);
    CZRPath(CZRPath const & Other);
    virtual ~CZRPath();

    CZRPath const & operator=(char const * szPath);
    CZRPath const & operator=(CZRString const & sPath);
    CZRPath const & operator=(CZRPath const & Other);
    operator CZRString const &() const { return m_sPath; }

    void Empty();
    std::int32_t GetLength() const { return m_sPath.GetLength(); }
    bool IsEmpty() const { return m_sPath.IsEmpty(); }
    int CompareNoCase(char const * szOther) const;
    void MakeLower();
    void MakeUpper();
    // Lower case, nothing else.
    void MakePretty();

    // Backslash or forward slash.
    static bool IsSlash(char cChar);
    static bool IsDriveLetter(char cChar);
    // 0 to 25 give "A:\" to "Z:\"; anything else an empty path.
    static CZRPath BuildRoot(int nDrive);
    // 0 to 25 for "a:" to "z:" in either case, else -1.
    int GetDriveNumber() const;
    // Two leading backslashes; forward slashes do not count.
    bool IsUNC() const;

    bool HasLeadingBackslash() const;
    bool HasLeadingForwardslash() const;
    bool HasTrailingBackslash() const;
    bool HasTrailingForwardslash() const;
    bool HasLeadingSlash() const;
    bool HasTrailingSlash() const;
    // Each adds its own slash unless that same slash is already there.
    void AddTrailingBackslash();
    void AddTrailingForwardslash();
    void AddLeadingBackslash();
    void AddLeadingForwardslash();
    // Each removes exactly its own slash when it is there.
    void RemoveTrailingBackslash();
    void RemoveTrailingForwardslash();
    void RemoveLeadingBackslash();

    // Adds a backslash unless the path is empty or ends in one, then Other unchanged.
    void Append(CZRPath const & Other);
    CZRPath const & operator+=(CZRPath const & Other);

    int MakeForwardslashes();
    int MakeBackwardslashes();

    // Position of the last dot anywhere in the text, or -1.
    int FindExtension() const;
    CZRString GetExtension() const;
    // Only when the path has no dot at all and sExt begins with one.
    void AddExtension(CZRString const & sExt);
    void RemoveExtension();

    // Keeps the text from the last slash on, the slash included.
    void StripPath();
    // The text in front of the last slash.
    CZRPath GetPath() const;
    CZRString GetFileName(bool bWithExtension) const;
    int GetNumPathComponents() const;
    // Components nFirst to nFirst + nCount - 1 with the separators between them.
    CZRString GetComponent(int nFirst, int nCount) const;

    // Component-wise, case-blind, separators compared as text. nIgnored is not read.
    bool IsSame(CZRPath const & Other, int nIgnored, bool bIgnoreLeadingSlash,
                bool bIgnoreTrailingSlash) const;
    // True when Other lies below this path: 'a\b' IsBelow 'a\b\c'.
    bool IsBelow(CZRPath const & Other) const;
    // True when this path lies below Other: 'a\b\c' IsAbove 'a\b'.
    bool IsAbove(CZRPath const & Other) const;
    bool IsBelowOrSame(CZRPath const & Other) const;
    bool IsAboveOrSame(CZRPath const & Other) const;

    // Kept for hosts written against older versions; it changes nothing.
    void CompactPath(CZRPath const & Other, unsigned int uiMaxLength);

private:
    char FirstChar() const;
    char LastChar() const;
    // Components 1 to nCount of both paths compared case-blind, prefix by prefix.
    bool PrefixesMatch(CZRPath const & Other, int nCount) const;

    CZRString m_sPath;
};
