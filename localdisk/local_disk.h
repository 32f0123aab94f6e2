// The protocol object: every operation of protocol.h on this machine's file system. The host sees it through the
// interface only.
#pragma once

#include <sys/stat.h>

#include <string>

#include "localdisk/protocol.h"

// Operations keep their state on the stack and may run at once on any number of threads; SetOpt alone may not run
// beside others.
class LOCALDISK_EXPORT LocalDisk : public IProtocol_V2 {
 public:
  static constexpr const char* type_name = "localdisk";
  // The name under which the module presents itself to the host's manager; the blank belongs to it.
  static constexpr const char* module_id = "Tolvex3_localdisk.dylib_3.12.237 .0";

  // Asks `manager` for the pid; what GetPid throws leaves the constructor. Without a manager the pid is empty.
  explicit LocalDisk(IProtocolManager* manager);

  static int GetAuthType();
  static int GetAuthFields(char* buffer, int* length);

  void Release() override;
  int GetUserInfo(char* buffer, int* length) override;
  int GetQuota(unsigned long long* total, unsigned long long* used) override;
  int SetQuota(unsigned long long total, unsigned long long used) override;
  int GetType(char** name) override;
  int GetFileList(const char* path, IFileList* list, char** message) override;
  int GetChanges(IFileChanges* changes, char** message) override;
  int GetFileInfo(const char* path, _FS_FILE_V2* file, char** message) override;
  int Rename(const char* path, const char* new_parent, _FS_FILE_V2* file, char** message) override;
  int Move(const char* path, const char* new_parent, _FS_FILE_V2* file, char** message) override;
  int MoveDir(const char* path, const char* new_parent, _FS_FILE_V2* file, char** message) override;
  int CreateDirectory(const char* parent, _FS_FILE_V2* file, char** message) override;
  int Delete(_FS_FILE_V2* file, char** message) override;
  int DeleteDirectory(_FS_FILE_V2* file, char** message) override;
  int Read(const char* path, long long offset, long long length, std::shared_ptr<_FS_HANDLE> handle,
           IFetchCallback* callback, char** message) override;
  int Upload(const char* parent, std::shared_ptr<_FS_HANDLE> handle, ICacheIO* cache, _FS_FILE_V2* file,
             UPLOAD_FLAG flag, char** message) override;
  int SetFileTime(const char* path, std::string creation_time, std::string access_time, std::string modification_time,
                  _FS_FILE_V2* file, char** message) override;
  int SetOpt(const char* key, const char* value) override;
  int GetCredential(char* buffer, int* length) override;
  int GetFeature() override;
  void FreeMsg(char* message) override;
  int Connect(IProtocolAuth* auth, const char* text) override;
  int GetIdentifier(char* buffer, int* length) override;
  int GetRootID(char* buffer, int* length) override;
  int SetLocalConfiguration(ILocalConfiguration* configuration) override;
  int SetChangesCallback(IFileChanges* changes) override;
  int GetShareableLink(_FS_FILE_V2* file, std::string& link) override;

  // The local path of a host path: its normalized form, with a "." after it where that ends in the separator, as "/"
  // does. The option root_path takes no part.
  [[nodiscard]] std::string GetPath(const char* path) const;
  // `directory` and `name` with one separator between them, unless `directory` brings one.
  [[nodiscard]] std::string JoinPath(const std::string& directory, const std::string& name) const;
  // Fills type, path, size and times of `file`, whose name is set and whose parent has the host path `directory`.
  // When memory runs out, `file` is as it was.
  void FillData(std::string directory, struct stat* status, _FS_FILE_V2* file) const;

  virtual ~LocalDisk();  // declared last: it takes the last two entries of the table

 private:
  IProtocolManager* manager;
  std::string pid;
  std::string root_path;
  char divider;  // always '/'
};
