// The one door to terminated text. Each STR_ function gives the result of one C library
// function called with the same arguments (STR_strstr tries the first few candidates
// itself before it calls strstr); none tests its arguments, so pointers must be valid.
// Text is single-byte: lengths and positions are bytes, and the case-blind forms fold
// the ASCII letters only, whatever the process locale. Stateless, callable from any thread.
#pragma once

#include <cstdarg>
#include <cstdint>

#include "common/kernel/api.h"

// Byte order: below 0, 0 or above 0 as the first text sorts before, with or after the
// second.
COMMON_API int STR_strcmp(char const * szString1, char const * szString2);
// STR_strcmp with the ASCII letters folded to one case.
COMMON_API int STR_stricmp(char const * szString1, char const * szString2);
// The order of the current locale (strcoll).
COMMON_API int STR_strcoll(char const * szString1, char const * szString2);
// The case-blind order: the same result as STR_stricmp.
COMMON_API int STR_stricoll(char const * szString1, char const * szString2);
// Length in bytes, without the terminator.
COMMON_API int STR_strlen(char const * szString);
// Lower case in place; returns its argument.
COMMON_API char * STR_strlwr(char * szString);
// Upper case in place; returns its argument.
COMMON_API char * STR_strupr(char * szString);
// Reverses the bytes in place; returns its argument.
COMMON_API char * STR_strrev(char * szString);
// First occurrence of the byte, or null.
COMMON_API char * STR_strchr(char const * szString, int nChar);
// Last occurrence of the byte, or null.
COMMON_API char * STR_strrchr(char const * szString, int nChar);
// First occurrence of the substring, or null; an empty substring is found at the start.
COMMON_API char * STR_strstr(char const * szString, char const * szSubString);
// First byte of the text that is in the set, or null.
COMMON_API char * STR_strpbrk(char const * szString, char const * szCharSet);
// Last byte of the text that is in the set, or null.
COMMON_API char * STR_strrpbrk(char const * szString, char const * szCharSet);
// Formats as sprintf into a buffer that must be large enough; returns the length written.
COMMON_API int STR_sprintf(char * szBuffer, char const * szFormat, ...)
    __attribute__((format(printf, 2, 3)));
// No limit: the buffer must be large enough.
COMMON_API int STR_vsprintf(char * szBuffer, char const * szFormat, va_list pArgs);
// At most nLimit bytes. Text needing fewer bytes than the limit is terminated and its
// length returned. Otherwise the buffer is filled with the first nLimit bytes and no
// terminator, and the result is nLimit when the text is exactly that long, else -1.
COMMON_API int STR_vsnprintf(char * szBuffer, int nLimit, char const * szFormat, va_list pArgs);
// Copies with the terminator; returns the destination.
COMMON_API char * STR_strcpy(char * szDestination, char const * szSource);
// Appends with the terminator; returns the destination.
COMMON_API char * STR_strcat(char * szDestination, char const * szSource);
// Copies at most nLimit bytes; a shorter source arrives terminated (the rest padded
// with zeros), one as long or longer arrives without a terminator.
COMMON_API char * STR_strncpy(char * szDestination, char const * szSource, int nLimit);
// Appends at most nLimit bytes and always terminates.
COMMON_API char * STR_strncat(char * szDestination, char const * szSource, int nLimit);
// The next character: one byte on.
COMMON_API char * STR_strinc(char const * szCurrent);
// The character before szCurrent, not before szStart; null when szStart >= szCurrent.
COMMON_API char * STR_strdec(char const * szStart, char const * szCurrent);
// 32-bit results: out of range values saturate as they do for a 32-bit long.
COMMON_API std::int32_t STR_strtol(char const * szString, char ** pEnd, int nBase);
// The unsigned twin of STR_strtol.
COMMON_API std::uint32_t STR_strtoul(char const * szString, char ** pEnd, int nBase);
// strtod: pEnd, when not null, receives where the number ends.
COMMON_API double STR_strtod(char const * szString, char ** pEnd);

// The limited twin of STR_sprintf; private to the library.
int STR_snprintf(char * szBuffer, int nLimit, char const * szFormat, ...)
    __attribute__((format(printf, 3, 4)));
