#include "host/cli/mirror.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <utility>

#include "host/cli/console.h"
#include "host/client/module_functions.h"
#include "host/client/paths.h"
#include "host/client/times.h"

namespace host {
namespace {

namespace fs = std::filesystem;

// Without links, as far as the path leads; as it is where that can't be told.
std::string resolved(const std::string& path) {
  std::error_code unknown;
  const fs::path real = fs::weakly_canonical(path, unknown);
  return unknown ? path : absolute_path(real.string());
}

bool is_within(const Tree& source, const FileIdentity& folder, std::string path) {
  for (path = resolved(path);; path = parent_of(path)) {
    if (source.identity(path) == folder) return true;
    if (path == "/") return false;
  }
}

}  // namespace

void expect_apart(const Tree& source, const std::string& from, bool folder, const Tree& target,
                  const std::string& to) {
  if (!source.is_local() || !target.is_local()) return;
  const std::optional<FileIdentity> first = source.identity(from);
  if (!first) return;
  if (first == target.identity(to)) throw CommandError(fmt::format("{} and {} are the same file", from, to));
  if (folder && is_within(source, *first, to)) {
    throw CommandError(fmt::format("{} lies in {}, which can't be copied or moved into itself", to, from));
  }
}

Mirror::Mirror(const Session& session, Direction direction, MirrorRules rules)
    : session_(session),
      direction_(direction),
      rules_(std::move(rules)),
      drive_(session.module, session.drive),
      transfer_(session),
      source_walk_(source()),
      target_walk_(target()) {}

bool Mirror::is_excluded(const Entry& entry) const {
  const ModuleFunctions functions(session_.module);
  return std::any_of(rules_.excluded.begin(), rules_.excluded.end(), [&](const std::string& expression) {
    return functions.matches(expression, entry.name, /*ignore_case=*/false);
  });
}

void Mirror::expect(const std::string& typed) {
  if (!session_.report.progress().is_wanted() || rules_.dry_run) return;
  try {
    const std::string from = absolute_path(typed);
    Entry entry = source().examine(from);
    if (entry.kind == Kind::folder_link) entry.kind = Kind::folder;
    session_.report.progress().expect(measure(from, entry));
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): copying will tell
  }
}

long long Mirror::measure(const std::string& from, const Entry& entry) {
  session_.report.interrupt().throw_if_interrupted();
  if (is_excluded(entry)) return 0;
  if (entry.kind == Kind::file) return entry.size;
  long long bytes = 0;
  if (entry.kind == Kind::folder) {
    source_walk_.each(from, [&](const Entry& inner) { bytes += measure(below(from, inner.name), inner); });
  }
  return bytes;
}

void Mirror::copy(const std::string& from, const Entry& entry, const std::string& to) {
  if (is_excluded(entry)) return;
  if (entry.kind == Kind::folder) {
    copy_folder(from, entry, to);
  } else if (entry.kind == Kind::file) {
    session_.report.attempt([&] { copy_file(from, entry, to); });
    session_.report.progress().finish(entry.size);
  } else {
    session_.report.note(
        fmt::format("skipped {}: {}", from, entry.kind == Kind::folder_link ? "a link to a folder" : entry.what));
  }
}

void Mirror::copy_folder(const std::string& from, const Entry& folder, const std::string& to) {
  session_.report.attempt([&] {
    std::optional<Entry> there = target().find(to);
    if (there && !is_folder(*there)) {
      if (!rules_.deletes || there->kind != Kind::file) {
        throw CommandError(fmt::format("{} is no folder, and nothing is removed to make one", to));
      }
      in_the_way_ = true;
      if (!rules_.dry_run) return;
      there.reset();
    }
    if (!there) {
      ++counts_.folders;
      if (rules_.dry_run) {
        fmt::print("make {}\n", escaped_for_output(to));
      } else {
        target().make_folder(to);
      }
    }
    source_walk_.each(from, [&](const Entry& entry) { copy(below(from, entry.name), entry, below(to, entry.name)); });
    if (rules_.dry_run || folder.modified == -1) return;
    if (!there || rules_.only_differing) there = target().find(to);  // what it shows after the work in it
    if (there && is_same(from, folder, to, *there)) return;
    target().set_modified(to, folder.modified);
  });
}

bool Mirror::is_same(const std::string& from, const Entry& file, const std::string& to, const Entry& there) {
  const bool up = direction_ == Direction::up;
  const Entry &local = up ? file : there, &on_drive = up ? there : file;
  if (!on_drive.record_time.empty() && !shows_time(on_drive.record_time, local.modified)) return false;
  if (file.kind != Kind::file) return true;
  if (file.size != there.size) return false;
  return !rules_.compare_content || transfer_.same_content(up ? from : to, up ? to : from, file.size);
}

void Mirror::copy_file(const std::string& from, const Entry& file, const std::string& to) {
  const std::optional<Entry> there = target().find(to);
  if (there && there->kind != Kind::file) {
    if (!rules_.deletes || !is_folder(*there)) {
      throw CommandError(
          fmt::format("{} is {}, and no file can take its place", to, is_folder(*there) ? "a folder" : there->what));
    }
    in_the_way_ = true;
    if (!rules_.dry_run) return;
  }
  if (there && there->kind == Kind::file && rules_.only_differing && is_same(from, file, to, *there)) {
    ++counts_.unchanged;
    return;
  }
  if (rules_.dry_run) {
    fmt::print("copy {}\n", escaped_for_output(to));
  } else if (direction_ == Direction::up) {
    transfer_.upload(from, to);
  } else {
    transfer_.download(from, file, to);
  }
  ++counts_.copied;
  counts_.bytes += file.size;
}

void Mirror::synchronise(const std::string& from, const Entry& folder, const std::string& to) {
  Report& report = session_.report;
  const std::optional<FileIdentity> seen = source().identity(from);
  expect(from);
  copy_folder(from, folder, to);
  report.progress().wipe();
  if (!rules_.deletes) return;
  const bool whole = report.attempt_more([&] {
    const std::optional<Entry> now = source().find(from);
    if (!now || !is_folder(*now) || source().identity(from) != seen) {
      throw CommandError(fmt::format("{} is another folder than before: nothing is deleted", from));
    }
  });
  if (!whole) return;
  if (report.failed() > 0) {
    report.note("nothing is deleted, for not everything could be copied");
    return;
  }
  delete_gone(from, to);
  if (!std::exchange(in_the_way_, false) || rules_.dry_run || report.failed() > 0) return;
  rules_.deletes = false;  // what is still in the way stays
  counts_.unchanged = 0;
  const MirrorCounts before = counts_;
  copy_folder(from, folder, to);
  counts_.unchanged -= before.copied;
}

void Mirror::delete_gone(const std::string& from, const std::string& to) {
  session_.report.attempt_more([&] {
    const std::optional<Entry> folder = target().find(to);
    if (!folder || !is_folder(*folder)) return;  // not made by a dry run
    target_walk_.each(to, [&](const Entry& entry) {
      if (is_excluded(entry)) return;
      const std::string here = below(from, entry.name), there = below(to, entry.name);
      session_.report.attempt_more([&] {
        const std::optional<Entry> wanted = source().find(here);
        const bool in_the_way = wanted && ((wanted->kind == Kind::folder && entry.kind == Kind::file) ||
                                           (wanted->kind == Kind::file && is_folder(entry)));
        if (!wanted || in_the_way) {
          remove(there, entry);
        } else if (wanted->kind == Kind::folder && entry.kind == Kind::folder) {
          delete_gone(here, there);
        }
      });
    });
  });
}

void Mirror::remove(const std::string& path, const Entry& entry) {
  const auto excluded = [&](const Entry& each) { return is_excluded(each); };
  const auto removed = [&](const std::string& each) {
    ++counts_.deleted;
    if (rules_.dry_run) fmt::print("delete {}\n", escaped_for_output(each));
  };
  Removal(target(), session_.report, excluded, removed, rules_.dry_run).remove(path, entry);
}

}  // namespace host
