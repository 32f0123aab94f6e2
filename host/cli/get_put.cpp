// get and put.
#include <fmt/format.h>

#include "host/cli/commands.h"
#include "host/cli/console.h"
#include "host/cli/mirror.h"
#include "host/client/paths.h"

namespace host {
namespace {

std::string counted(const MirrorCounts& counts) {
  return fmt::format("{} {}, {} {}, {}", counts.copied, counts.copied == 1 ? "file" : "files", counts.folders,
                     counts.folders == 1 ? "folder" : "folders", readable_bytes(static_cast<double>(counts.bytes)));
}

// A target that is a folder receives the source under its name; what is there already must let itself be replaced.
std::string target_of(Mirror& mirror, const std::string& typed, const std::string& name, bool must_be_folder) {
  const std::string path = absolute_path(typed);
  const std::optional<Entry> there = mirror.target().find(path);
  if (there && is_folder(*there)) return below(path, name);
  if (must_be_folder) throw CommandError(fmt::format("{} is no folder: it can't receive several entries", path));
  if (there && there->kind == Kind::other) {
    throw CommandError(fmt::format("{} is {}, and nothing can take its place", path, there->what));
  }
  return path;
}

void copy_one(Mirror& mirror, const std::string& typed, const std::string& target, const CopyOptions& options) {
  const std::string from = absolute_path(typed);
  Entry entry = mirror.source().examine(from);
  if (entry.kind == Kind::folder_link) entry.kind = Kind::folder;  // who names it means what it leads to
  if (entry.kind == Kind::other)
    throw CommandError(fmt::format("{} is {}: there is nothing to copy", from, entry.what));
  const std::string to = target_of(mirror, target, name_of(from), options.paths.size() > 2);
  const bool folder = is_folder(entry);
  expect_apart(mirror.source(), from, folder, mirror.target(), to);
  if (folder && !options.recursive) {
    throw CommandError(fmt::format("{} is a folder: say -r to copy it with all that is in it", from));
  }
  if (!folder && target.back() == '/' && to == absolute_path(target)) {
    throw CommandError(fmt::format("{} is no folder", target));
  }
  mirror.copy(from, entry, to);
}

int copy_all(const Session& session, const CopyOptions& options, Direction direction) {
  Mirror mirror(session, direction);
  const std::string& target = options.paths.back();
  for (std::size_t at = 0; at + 1 < options.paths.size(); ++at) mirror.expect(options.paths[at]);
  for (std::size_t at = 0; at + 1 < options.paths.size(); ++at) {
    session.report.attempt_whole([&] { copy_one(mirror, options.paths[at], target, options); });
  }
  if (mirror.counts().copied + mirror.counts().folders > 0) {
    session.report.print_result(counted(mirror.counts()));
  }
  return session.report.finish();
}

}  // namespace

int get(const Session& session, const CopyOptions& options) {
  if (options.paths.back() != "-") return copy_all(session, options, Direction::down);
  return print_content(session, {options.paths.begin(), options.paths.end() - 1}, 0, std::nullopt);
}

int put(const Session& session, const CopyOptions& options) {
  if (options.paths.size() != 2 || options.paths.front() != "-") return copy_all(session, options, Direction::up);
  const std::string path = absolute_path(options.paths.back());
  Mirror mirror(session, Direction::up);
  const std::optional<Entry> there = mirror.target().find(path);
  if (there && there->kind != Kind::file) {
    throw CommandError(fmt::format("{} is {}: name the file that standard input becomes", path,
                                   is_folder(*there) ? "a folder" : there->what));
  }
  const long long size = mirror.transfer().upload_input(path);
  session.report.print_result(fmt::format("1 file, {}", readable_bytes(static_cast<double>(size))));
  return exit_done;
}

}  // namespace host
