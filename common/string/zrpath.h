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
    // An empty path.
    CZRPath();
    // The text as it is: nothing is converted, trimmed or tested.
    CZRPath(char const * szPath);
    // The text as it is.
    CZRPath(CZRString const & sPath);
    // A copy of the other path's text.
    CZRPath(CZRPath const & Other);
    virtual ~CZRPath();

    // Assignments take the text as it is.
    CZRPath const & operator=(char const * szPath);
    // The text as it is.
    CZRPath const & operator=(CZRString const & sPath);
    // A copy of the other path's text.
    CZRPath const & operator=(CZRPath const & Other);
    // The text of the path.
    operator CZRString const &() const { return m_sPath; }

    // Empties the text.
    void Empty();
    // Length of the text in bytes.
    std::int32_t GetLength() const { return m_sPath.GetLength(); }
    // True when the text is empty.
    bool IsEmpty() const { return m_sPath.IsEmpty(); }
    // The texts compared case-blind, as CZRString::CompareNoCase; slashes are not folded.
    int CompareNoCase(char const * szOther) const;
    // Lower case in place.
    void MakeLower();
    // Upper case in place.
    void MakeUpper();
    // Lower case, nothing else.
    void MakePretty();

    // Backslash or forward slash.
    static bool IsSlash(char cChar);
    // 'A' to 'Z' and 'a' to 'z'.
    static bool IsDriveLetter(char cChar);
    // 0 to 25 give "A:\" to "Z:\"; anything else an empty path.
    static CZRPath BuildRoot(int nDrive);
    // 0 to 25 for "a:" to "z:" in either case, else -1.
    int GetDriveNumber() const;
    // Two leading backslashes; forward slashes do not count.
    bool IsUNC() const;

    // Each Has... tests the first or last byte; an empty path gives false.
    // The first byte is a backslash.
    bool HasLeadingBackslash() const;
    // The first byte is a forward slash.
    bool HasLeadingForwardslash() const;
    // The last byte is a backslash.
    bool HasTrailingBackslash() const;
    // The last byte is a forward slash.
    bool HasTrailingForwardslash() const;
    // The first byte is either slash.
    bool HasLeadingSlash() const;
    // The last byte is either slash.
    bool HasTrailingSlash() const;
    // Each adds its own slash unless that same slash is already there.
    void AddTrailingBackslash();
    // Appends a forward slash unless one ends the path.
    void AddTrailingForwardslash();
    // Puts a backslash in front unless one leads the path: '/a' gives '\/a'.
    void AddLeadingBackslash();
    // Puts a forward slash in front unless one leads the path.
    void AddLeadingForwardslash();
    // Each removes exactly its own slash when it is there.
    void RemoveTrailingBackslash();
    // Removes a forward slash that ends the path.
    void RemoveTrailingForwardslash();
    // Removes a backslash that leads the path; there is no such operation for a forward
    // slash.
    void RemoveLeadingBackslash();

    // Adds a backslash unless the path is empty or ends in one, then Other unchanged.
    void Append(CZRPath const & Other);
    // The same as Append; returns this path.
    CZRPath const & operator+=(CZRPath const & Other);

    // Turns every backslash into a forward slash; returns how many changed.
    int MakeForwardslashes();
    // Turns every forward slash into a backslash; returns how many changed.
    int MakeBackwardslashes();

    // Position of the last dot anywhere in the text, or -1.
    int FindExtension() const;
    // From the last dot to the end, the dot included; empty without a dot.
    CZRString GetExtension() const;
    // Only when the path has no dot at all and sExt begins with one.
    void AddExtension(CZRString const & sExt);
    // Cuts the text at the last dot, even one in front of a separator: 'a.b\c' gives 'a'.
    void RemoveExtension();

    // Keeps the text from the last slash on, the slash included.
    void StripPath();
    // The text in front of the last slash.
    CZRPath GetPath() const;
    // The last component without a slash behind it: 'a\b.txt' gives 'b.txt', or 'b'
    // without the extension; a name that is only an extension ('.cfg') gives empty text
    // without it.
    CZRString GetFileName(bool bWithExtension) const;
    // Pieces between separators (a slash at position 0 separates nothing, and one at the
    // end opens no new piece): 'a\b\' has 2, 'a\\b' 3, a lone '\' 0, an empty path 0.
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
    // IsBelow, or IsSame with both slash switches on.
    bool IsBelowOrSame(CZRPath const & Other) const;
    // IsAbove, or IsSame with both slash switches on.
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
