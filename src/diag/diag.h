// Diagnostic log and tracked allocation.
//
// The log is one plain text file, appended to one message at a time; the
// process-wide level decides what is written: 0 nothing, 1 LogMessage, 2 also
// LogDetail, any other value nothing. Working memory comes from mymalloc,
// zero-filled, and its running total shows leaks between documents.
#pragma once

#include "win32.h"

#include <cstdarg>

extern DWORD gDebugLevel;
extern DWORD gTotalBytesAlloc;

// Size of the formatting buffer: longer messages are cut to one byte less.
#define LOG_BUFFER_SIZE 4096

void LogMessage(const char* format, ...);
void LogDetail(const char* format, ...);
void LogWrite(const char* format, va_list args);

void* mymalloc(DWORD size);
void myfree(void* p);
WCHAR* mystrdup(const WCHAR* src);
