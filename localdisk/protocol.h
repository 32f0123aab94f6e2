// The protocol object as the host sees it: a table of virtual operations whose order is binding.
//
// The host gets the object from GetProtocol (plugin/entry_points.h), calls it from any of its threads, and ends it
// with Release. Every operation answers with an FS_STATUS; no exception leaves one. Host paths are paths of this
// machine, as bytes, with '/' between components. Of the operations that end in `char** message` none stores a
// message: preset the pointer to null, or leave it out with a null.
//
// An argument that an operation can't do without and that is null gives FS_ERR_INVALID_ARG. Exhausted memory, and an
// exception thrown by a host's callback, give FS_ERR_OPERATION_FAILED, in Read and Upload FS_ERR_FAILED.
//
// A path of which nothing is left when it is normalized ("", ".", "..", "a/..") names no entry: FS_ERR_NOT_FOUND.
// SetFileTime alone takes its path as it is.
//
// Times are told in the machine's zone, for which an operation that fills records calls tzset, and that reads TZ.
// No thread may change the environment meanwhile.
//
// A thread may be cancelled in an operation or end itself in a callback: with glibc and libstdc++ everything that the
// operation holds is released. macOS doesn't unwind the stack of such a thread, so that memory and descriptors stay
// behind; libc++ on Linux ends the process.
#pragma once

#include <memory>
#include <string>

#include "common/export.h"
#include "localdisk/file_record.h"
#include "localdisk/host_interfaces.h"
#include "localdisk/status.h"
#include "localdisk/transfer.h"

// Hosts call the three interfaces; a module derives its object from the last. Each module has their constructors in
// one of its own sources: IRefObject::IRefObject() = default; and so on for the other two.
class LOCALDISK_EXPORT IRefObject {
 public:
  IRefObject(const IRefObject&) = delete;
  IRefObject& operator=(const IRefObject&) = delete;

  // Destroys the object at once; there is no reference count.
  virtual void Release() = 0;

 protected:
  IRefObject();
  ~IRefObject() = default;
};

// The operations that every version of the table has.
class LOCALDISK_EXPORT IProtocol_V1 : public IRefObject {
 public:
  // Text out: `*length` holds the capacity of `buffer` on entry and the length of the value on return. The value is
  // copied without a terminator when it fits; otherwise, and for a null buffer, the answer is FS_ERR_BUFFER_TOO_SMALL
  // and nothing is copied. A null `length` gives FS_ERR_INVALID_ARG. This holds for GetUserInfo and GetRootID.

  // "HOST/USER", or "USER" where the machine's name is unknown. USER is the environment variable, or the login name
  // of the real user where that is unset, cut to 1023 bytes.
  virtual int GetUserInfo(char* buffer, int* length) = 0;
  // Bytes in all and bytes in use (reserved ones included) of the volume under the option root_path; either pointer
  // may be null. While root_path is "/" both stay as they are.
  virtual int GetQuota(unsigned long long* total, unsigned long long* used) = 0;
  virtual int SetQuota(unsigned long long total, unsigned long long used) = 0;  // not supported
  // Stores the static text "localdisk", which must not be freed.
  virtual int GetType(char** name) = 0;

  // Hands every entry of the directory `path` but "." and ".." to `list`, in the order of the file system. A link is
  // described by what it leads to; one that leads nowhere by itself, as a file. An entry that can't be examined has
  // neither size nor times, and is what the directory says. A directory that breaks off half-way answers FS_OK too:
  // what was told stands.
  virtual int GetFileList(const char* path, IFileList* list, char** message) = 0;
  virtual int GetChanges(IFileChanges* changes, char** message) = 0;  // not supported
  // Fills path, type, size, times and name of `file` from the entry at `path`; on failure `file` stays as it was.
  virtual int GetFileInfo(const char* path, _FS_FILE_V2* file, char** message) = 0;

  // Moves the entry at `path` to the directory `new_parent` under the name that `file` holds, and fills `file` from
  // it. What stands there is replaced or refused as rename decides. Rename, Move and MoveDir are the same.
  virtual int Rename(const char* path, const char* new_parent, _FS_FILE_V2* file, char** message) = 0;
  virtual int Move(const char* path, const char* new_parent, _FS_FILE_V2* file, char** message) = 0;
  virtual int MoveDir(const char* path, const char* new_parent, _FS_FILE_V2* file, char** message) = 0;
  // Makes a directory of the name that `file` holds, and fills `file` from it. An entry of that name, of any kind,
  // that exists already counts as success.
  virtual int CreateDirectory(const char* parent, _FS_FILE_V2* file, char** message) = 0;
  // Removes the file or the empty directory at the path that `file` holds. Both operations are the same.
  virtual int Delete(_FS_FILE_V2* file, char** message) = 0;
  virtual int DeleteDirectory(_FS_FILE_V2* file, char** message) = 0;

  // Delivers `length` bytes from `offset` on, in chunks of at most FS_CHUNK_SIZE. A range that runs past the
  // end gives what there is and then FS_ERR_READ. The handle stops the transfer before the first chunk and
  // after each one that does not complete the range. A negative length, or no handle for a length that is not
  // 0, is FS_ERR_INVALID_ARG.
  virtual int Read(const char* path, long long offset, long long length, std::shared_ptr<_FS_HANDLE> handle,
                   IFetchCallback* callback, char** message) = 0;
  // Creates or replaces the file of the name and size that `file` holds with what `cache` serves, and fills `file`
  // from it. FS_ERR_FAILED removes the target: it never stands for content that did not reach the disk. Where the
  // target is a link, the link is removed, and what it led to stays, cut short. A stop through the handle leaves the
  // blocks written so far.
  virtual int Upload(const char* parent, std::shared_ptr<_FS_HANDLE> handle, ICacheIO* cache, _FS_FILE_V2* file,
                     UPLOAD_FLAG flag, char** message) = 0;

  // Sets access and modification time from timestamp texts, read as local standard time (RFC3339ToTM). `path` is used
  // exactly as given; the creation time and `file` are not used.
  virtual int SetFileTime(const char* path, std::string creation_time, std::string access_time,
                          std::string modification_time, _FS_FILE_V2* file, char** message) = 0;

  // Options: "pid" and "root_path", in any case of letters; others are ignored. Not while another operation of
  // the same object runs.
  virtual int SetOpt(const char* key, const char* value) = 0;
  // Hands the option pid to the host's manager. The credential itself is always empty: `*length` becomes 0.
  virtual int GetCredential(char* buffer, int* length) = 0;
  virtual int GetFeature() = 0;  // a mask: bit 6 alone
  // Releases a message; null is fine.
  virtual void FreeMsg(char* message) = 0;

 protected:
  IProtocol_V1();
  ~IProtocol_V1() = default;
};

// The whole table: what GetProtocol hands out.
class LOCALDISK_EXPORT IProtocol_V2 : public IProtocol_V1 {
 public:
  virtual int Connect(IProtocolAuth* auth, const char* text) = 0;             // nothing to do
  virtual int GetIdentifier(char* buffer, int* length) = 0;                   // touches nothing
  virtual int GetRootID(char* buffer, int* length) = 0;                       // the option root_path
  virtual int SetLocalConfiguration(ILocalConfiguration* configuration) = 0;  // ignored
  virtual int SetChangesCallback(IFileChanges* changes) = 0;                  // ignored
  virtual int GetShareableLink(_FS_FILE_V2* file, std::string& link) = 0;     // not supported

 protected:
  IProtocol_V2();
  ~IProtocol_V2() = default;
};
