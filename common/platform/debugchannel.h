// The debugger channel: the exact bytes of a terminated text go to stderr, unbuffered,
// in one write where the system allows. Safe from any thread.
#pragma once

void PLATFORM_WriteDebugText(char const * szText);
