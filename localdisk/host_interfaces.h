// The host's objects that the module calls back. The host owns each of them; the module releases none.
//
// None has a virtual destructor: a table of virtual functions holds the listed entries and nothing else.
#pragma once

#include <cstdarg>

struct _FS_FILE_V2;

// Handed to GetProtocol, and kept by the protocol object until Release.
class IProtocolManager {
 public:
  // Asks for the identity text of a new protocol object, which the host writes into `buffer` of `*length` bytes,
  // terminated unless it fills them. Called once, while the object is made; the result and the length written back
  // are ignored.
  virtual int GetPid(const char* module, char* buffer, int* length) = 0;
  // Receives a value that belongs to `owner`; the result is ignored.
  virtual int SetValue(const char* owner, const char* key, const char* value, int flag) = 0;

 protected:
  ~IProtocolManager() = default;
};

// Receives the entries of a listing, one a call, on the thread that called GetFileList.
class IFileList {
 public:
  // `file` belongs to the module and lives until the call returns. The result is ignored.
  virtual int AddFile(_FS_FILE_V2* file) = 0;

 protected:
  ~IFileList() = default;
};

// How much a line matters, on the host's scale.
enum LOGLEVEL : int {
  LOGLEVEL_INFO = 2,  // the one level at which the module logs
};
static_assert(sizeof(LOGLEVEL) == 4);

// The host's logger. It has to accept lines from several threads at once.
class ILog {
 public:
  virtual void Reserved1() = 0;  // the first two entries are the host's own; the module never calls them
  virtual void Reserved2() = 0;
  // `format` and `arguments` as vprintf takes them; the module expands nothing.
  virtual void LogV(LOGLEVEL level, const char* format, va_list arguments) = 0;

 protected:
  ~ILog() = default;
};

// Accepted by operations that have no use for them here.
class IFileChanges;
class ILocalConfiguration;
class IProtocolAuth;
