// The standard streams of a command-line tool: whether its error stream is shown on a
// terminal (a console window on Windows), so that it draws progress there and not into
// a file or a pipe, and a standard output that passes bytes unchanged, where Windows'
// text mode would turn each line feed into a carriage return and a line feed.
#pragma once

bool PLATFORM_StderrIsTerminal();
// Makes stdout carry bytes as they are; call it before anything is written there.
void PLATFORM_MakeStdoutBinary();
