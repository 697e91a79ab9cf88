// The computer's name, standing in for the registry value of the original platform.
#pragma once

// Writes the host name, at most nSize - 1 bytes and terminated, into szBuffer; an
// empty text when the system has none to give. nSize must be at least 1.
void PLATFORM_GetComputerName(char * szBuffer, int nSize);
