// File status as the Windows C runtime reports it (_wstat), for hosts without
// Windows. The record has the layout of the 64-bit Windows `struct _stat`
// (_stat64i32): 32-bit size, 64-bit times.
#pragma once

#include "px/wintypes.h"

#ifndef _WIN32

// glibc's <sys/stat.h> spells st_atime, st_mtime and st_ctime as macros for
// fields of its own record, which would rename this record's fields. It is
// included here, once, and the three macros dropped for good: POSIX code
// reads its own record's times as st_atim.tv_sec and its neighbours.
#include <sys/stat.h>
#undef st_atime
#undef st_mtime
#undef st_ctime

// Kind bits of st_mode, as the Windows runtime defines them.
#define _S_IFMT 0xF000
#define _S_IFDIR 0x4000
#define _S_IFCHR 0x2000
#define _S_IFREG 0x8000
#define _S_IREAD 0x0100
#define _S_IWRITE 0x0080
#define _S_IEXEC 0x0040

struct _stat {
    uint32_t st_dev;
    uint16_t st_ino;
    uint16_t st_mode;
    int16_t st_nlink;
    int16_t st_uid;
    int16_t st_gid;
    uint32_t st_rdev;
    int32_t st_size;
    int64_t st_atime;
    int64_t st_mtime;
    int64_t st_ctime;
};

// Fills *buffer with the status of the file or folder at path (a Windows path,
// mapped into the system root; a relative path is relative to the current
// directory). Returns 0, or -1 with errno set (ENOENT when nothing is there,
// EINVAL for a null argument).
PX_API int _wstat(const WCHAR* path, struct _stat* buffer);

#endif
