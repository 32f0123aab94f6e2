// The answer of every protocol operation, carried in an int.
#pragma once

// Only these values occur.
enum FS_STATUS : int {
  FS_OK = 0,
  FS_ERR_FAILED = 1,             // a transfer failed part-way: the host's side failed, or the local write
  FS_ERR_BUFFER_TOO_SMALL = 5,   // no buffer, or one shorter than the value, whose length was stored
  FS_ERR_INVALID_ARG = 6,        // an argument that the operation can't do without is missing
  FS_ERR_NOT_SUPPORTED = 8,      // this protocol does not offer the operation
  FS_ERR_READ = 10,              // reading failed, or the file ended before the range did
  FS_ERR_SEEK = 11,              // the target of an upload can't be positioned
  FS_ERR_READ_CANCELLED = 13,    // the host stopped a Read
  FS_ERR_UPLOAD_CANCELLED = 14,  // the host stopped an Upload
  FS_ERR_NOT_FOUND = 19,         // the entry can't be examined or opened, or is neither file nor directory
  FS_ERR_OPERATION_FAILED = 24,  // the system refused the operation; errno says why
};
