// Problem files by name: the format and the compression a name stands for, and opening the
// file through the plain or the gzip road with the failures reported on the task.
#pragma once

#include "cpub/sysfile.h"
#include "telva/task/task.h"

namespace telva {

// The format (TVA_DATA_FORMAT_*) and compression (TVA_COMPRESS_NONE or _GZIP) of a name, from
// its extension alone: a trailing ".gz" means gzip and the extension before it decides the
// format; an unknown extension, or none, means MPS. Case does not matter.
void datafile_analyse(const char* name, int32* format, int32* compress);

// The extension of a name: from the last "." behind the last "/" or "\\", or "" if none.
const char* datafile_extension(const char* name, size_t len, size_t* extlen);

// Opens name for reading or writing, gzip-compressed when compress is TVA_COMPRESS_GZIP.
// Reports TVA_RES_ERR_INVALID_FILE_NAME, TVA_RES_ERR_FILE_OPEN or TVA_RES_ERR_SPACE.
TVArescode datafile_open(TvaTask* task, const char* name, bool write, int32 compress,
                         sysfile** out);

// The file name of TVA_readdata and TVA_writedata: the given one, or TVA_SPAR_DATA_FILE_NAME
// when it is null.
const char* datafile_name(const TvaTask* task, const char* filename);

} // namespace telva
