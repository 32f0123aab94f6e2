// The host's side of the boundary, declared afresh: who builds a host may have nothing but the contract.
#pragma once

#include <cstdarg>
#include <deque>
#include <memory>
#include <string>

enum Status : int {
  FS_OK = 0,
  FS_ERR_FAILED = 1,
  FS_ERR_BUFFER_TOO_SMALL = 5,
  FS_ERR_INVALID_ARG = 6,
  FS_ERR_NOT_SUPPORTED = 8,
  FS_ERR_READ = 10,
  FS_ERR_SEEK = 11,
  FS_ERR_READ_CANCELLED = 13,
  FS_ERR_UPLOAD_CANCELLED = 14,
  FS_ERR_NOT_FOUND = 19,
  FS_ERR_OPERATION_FAILED = 24,
};

constexpr int type_file = 1, type_directory = 2;
constexpr int stop_state = 3;             // of a transfer's handle
constexpr long long chunk_size = 524288;  // the most that travels at once

struct _FS_FILE_V2 {
  std::string path;
  int type{};
  long long size{};
  std::string ctime, atime, mtime, name, extra1;
  std::deque<std::string> parents;
  std::string extra2;
};

struct _FS_HANDLE {
  int first{};
  int state{};
  void* third{};
  void (*progress)(long long, long long, void*, double){};
  void* progress_ctx{};
  char more[64]{};  // hosts keep members of their own behind those that modules know
};

struct _FS_CACHE_REQUEST {
  unsigned char* buffer;
  long long offset, capacity, delivered;
  std::shared_ptr<_FS_HANDLE> handle;
  long long total_size, reserved[3];
};

enum LOGLEVEL : int { level_info = 2 };
enum UPLOAD_FLAG : int { no_flag = 0, some_flag = 7 };
class IFileChanges;
class ILocalConfiguration;
class IProtocolAuth;

// Plain tables without destructors, which is what makes these classes and not virtual ones the contract.
struct IProtocolManager {
  virtual int GetPid(const char*, char*, int*) = 0;
  virtual int SetValue(const char*, const char*, const char*, int) = 0;
};
struct IFileList {
  virtual int AddFile(_FS_FILE_V2*) = 0;
};
struct ILog {
  virtual void First() = 0;
  virtual void Second() = 0;
  virtual void LogV(LOGLEVEL, const char*, va_list) = 0;
};
struct IFetchCallback {
  virtual int OnData(long long, const unsigned char*, unsigned long long, long long*) = 0;
};
struct ICacheIO {
  virtual int ReadBlock(_FS_CACHE_REQUEST*) = 0;
};

// The object's table, in its order.
struct Protocol {
  virtual void Release() = 0;
  virtual int GetUserInfo(char*, int*) = 0;
  virtual int GetQuota(unsigned long long*, unsigned long long*) = 0;
  virtual int SetQuota(unsigned long long, unsigned long long) = 0;
  virtual int GetType(char**) = 0;
  virtual int GetFileList(const char*, IFileList*, char**) = 0;
  virtual int GetChanges(IFileChanges*, char**) = 0;
  virtual int GetFileInfo(const char*, _FS_FILE_V2*, char**) = 0;
  virtual int Rename(const char*, const char*, _FS_FILE_V2*, char**) = 0;
  virtual int Move(const char*, const char*, _FS_FILE_V2*, char**) = 0;
  virtual int MoveDir(const char*, const char*, _FS_FILE_V2*, char**) = 0;
  virtual int CreateDirectory(const char*, _FS_FILE_V2*, char**) = 0;
  virtual int Delete(_FS_FILE_V2*, char**) = 0;
  virtual int DeleteDirectory(_FS_FILE_V2*, char**) = 0;
  virtual int Read(const char*, long long, long long, std::shared_ptr<_FS_HANDLE>, IFetchCallback*, char**) = 0;
  virtual int Upload(const char*, std::shared_ptr<_FS_HANDLE>, ICacheIO*, _FS_FILE_V2*, UPLOAD_FLAG, char**) = 0;
  virtual int SetFileTime(const char*, std::string, std::string, std::string, _FS_FILE_V2*, char**) = 0;
  virtual int SetOpt(const char*, const char*) = 0;
  virtual int GetCredential(char*, int*) = 0;
  virtual int GetFeature() = 0;
  virtual void FreeMsg(char*) = 0;
  virtual int Connect(IProtocolAuth*, const char*) = 0;
  virtual int GetIdentifier(char*, int*) = 0;
  virtual int GetRootID(char*, int*) = 0;
  virtual int SetLocalConfiguration(ILocalConfiguration*) = 0;
  virtual int SetChangesCallback(IFileChanges*) = 0;
  virtual int GetShareableLink(_FS_FILE_V2*, std::string&) = 0;
};
