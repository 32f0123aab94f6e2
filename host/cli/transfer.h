// Single files between this machine and the drive. New content is written beside the old under a name of its own and
// takes its place when it is whole, with its modification time: what fails leaves the old file as it was and nothing
// of the new.
#pragma once

#include <string>

#include "host/cli/report.h"
#include "host/cli/tree.h"

namespace host {

// What a command works with.
struct Session {
  const Module& module;
  Drive& drive;
  Report& report;
};

// All paths are absolute. What fails throws OperationError, std::system_error or CommandError.
class Transfer {
 public:
  explicit Transfer(const Session& session) : drive_(session.drive), report_(session.report) {}

  void download(const std::string& path, const Entry& file, const std::string& local);
  void upload(const std::string& local, const std::string& path);
  // What standard input gives, to its end. Answers how many bytes that was.
  long long upload_input(const std::string& path);
  // The file's bytes from `offset` on, `length` of them, to standard output.
  void print(const std::string& path, long long offset, long long length);

  // Whether the contents, of this size both, are equal.
  bool same_content(const std::string& local, const std::string& path, long long size);

 private:
  void upload_content(int in, long long size, time_t accessed, time_t modified, const std::string& path);

  Drive& drive_;
  Report& report_;
};

}  // namespace host
