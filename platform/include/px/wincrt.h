// Byte streams of the Windows C runtime, for hosts without Windows.
//
// _wfopen takes a UTF-16 Windows path, maps it into the system root and opens
// it with the C library's own fopen, so the stream it returns is a standard
// FILE: fread, fgetc, ungetc, fseek and fclose work on it unchanged.
#pragma once

#include "px/wintypes.h"

#include <cstdio>

#ifndef _WIN32

// Opens the file at path (a Windows path, mapped into the system root; a bare
// or relative name is relative to the current directory) with a Windows mode
// string: "r", "w" or "a", optionally "+", "b", "t" and "x". Returns the
// stream, or null with errno set: EINVAL for a null argument or a mode the
// Windows runtime would refuse, EACCES for a folder, else what fopen left.
PX_API FILE* _wfopen(const WCHAR* path, const WCHAR* mode);

#endif
