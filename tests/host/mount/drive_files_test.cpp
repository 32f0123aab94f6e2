#include "host/mount/drive_files.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <thread>
#include <utility>

#include "testing/temporary_folder.h"

namespace {

using host::Node;

struct DriveFiles : testing::Test {
  TemporaryFolder folder, cached;
  host::Module module{MODULE_FILE};
  host::Drive drive{module};
  host::RootedDrive rooted{drive, folder.path()};
  host::CacheFolder cache{cached.path()};
  host::DriveFiles files{rooted, cache};

  Node& root() { return files.table().root(); }
  Node& known(Node& above, const std::string& name) { return *files.lookup(above, name)->node; }
  Node& known(const std::string& name) { return known(root(), name); }
  std::string content_of(host::FileHandle& handle) {
    std::string room(100, '?'), content;
    files.read(handle, room, 0, [&](std::span<const char> got) { content.assign(got.begin(), got.end()); });
    return content;
  }
  // How each entry is shown: with its size where the kernel is to take it for looked up, else with -1.
  std::map<std::string, long long> listed() {
    std::map<std::string, long long> shown;
    const auto handle = files.open_folder(root());
    files.read_folder(*handle);
    files.each_entry(*handle, 0, [&](std::size_t, const auto& entry, const host::Described* described) {
      shown[entry.name] = described != nullptr ? described->attributes.size : -1;
      return true;
    });
    return shown;
  }
};

void sleep_past(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds + 0.05)); }

// Two of a second each, one after the other, would show what others did for two.
TEST_F(DriveFiles, AnAnswerFromMemoryHoldsForWhatIsLeftOfItsSecond) {
  folder.write("file", "old");
  Node& file = known("file");
  sleep_past(0.3);
  folder.write("file", "newer");
  const host::Described early = files.attributes(file);
  const double most_left = early.attributes.size == 3 ? host::seconds_to_remember - 0.3 : host::seconds_to_remember;
  EXPECT_LE(early.seconds_left, most_left);
  sleep_past(host::seconds_to_remember - 0.3);
  const host::Described late = files.attributes(file);
  EXPECT_EQ(late.attributes.size, 5);
  EXPECT_EQ(late.seconds_left, host::seconds_to_remember);
}

TEST_F(DriveFiles, WhatWasDoneHereShowsAtOnce) {
  const time_t long_ago = 1000000000;
  folder.write("file", "old");
  Node& file = known("file");

  files.set_times(file, {long_ago, long_ago});
  EXPECT_EQ(files.attributes(file).attributes.modified, long_ago);

  files.resize(file, nullptr, 2);
  EXPECT_EQ(files.attributes(file).attributes.size, 2);

  auto handle = files.open(file, O_WRONLY);
  files.write(*handle, std::string("abcdef"), 0, /*appends=*/false);
  EXPECT_EQ(files.attributes(file).attributes.size, 6);
  files.flush(*handle);
  EXPECT_EQ(files.attributes(file).attributes.size, 6);
  files.close(std::move(handle));

  files.set_times(root(), {long_ago, long_ago});
  EXPECT_EQ(files.attributes(root()).attributes.modified, long_ago);
  files.make_file(root(), "another");
  EXPECT_GT(files.attributes(root()).attributes.modified, long_ago);
}

TEST_F(DriveFiles, AListingTellsTheKernelWhatItDoesNotKnow) {
  using Shown = std::map<std::string, long long>;
  const host::Moment start = host::moment_now();
  folder.write("told", "1");
  folder.write("changed", "22");
  folder.write("new", "333");
  known("told");
  known("changed");
  folder.write("changed", "4444");
  const Shown first = listed(), second = listed();
  Node& forgotten = known("new");
  files.table().forget(forgotten, forgotten.lookups);
  const Shown third = listed();
  if (host::moment_now() - start > std::chrono::milliseconds(450)) GTEST_SKIP() << "this machine was busy elsewhere";
  EXPECT_EQ(first, (Shown{{"told", -1}, {"changed", 4}, {"new", 3}}));
  EXPECT_EQ(second, (Shown{{"told", -1}, {"changed", -1}, {"new", -1}}));
  EXPECT_EQ(third, (Shown{{"told", -1}, {"changed", -1}, {"new", 3}}));

  sleep_past(host::seconds_to_remember / 2);
  EXPECT_EQ(listed(), (Shown{{"told", 1}, {"changed", 4}, {"new", 3}}));
}

TEST_F(DriveFiles, AListingFromBeforeAChangeTellsNothing) {
  folder.write("one", "1");
  folder.write("two", "22");
  const std::pair<const char*, std::function<void()>> changes[] = {
      {"size", [&] { files.resize(known("one"), nullptr, 5), files.resize(known("two"), nullptr, 5); }},
      {"a newer look",
       [&] {
         for (const char* name : {"one", "two"}) folder.write(name, "333"), known(name);
       }},
      {"entries", [&] { files.remove_file(root(), "one"); }}};
  for (const auto& [what, change] : changes) {
    const auto handle = files.open_folder(root());
    files.read_folder(*handle);
    change();
    int shown = 0;
    files.each_entry(*handle, 0, [&](std::size_t, const auto&, const host::Described* described) {
      EXPECT_EQ(described, nullptr) << what;
      return ++shown > 0;
    });
    EXPECT_EQ(shown, 2) << what;
  }
}

// The kernel asks again from the first that found no room.
TEST_F(DriveFiles, AnEntryThatFindsNoRoomIsNoLookup) {
  for (const char* name : {"a", "b", "c"}) folder.write(name, "1");
  const auto handle = files.open_folder(root());
  files.read_folder(*handle);
  std::size_t told = 0;
  files.each_entry(*handle, 0, [&](std::size_t number, const auto&, const host::Described* described) {
    if (number == 1) return false;
    told += described != nullptr ? 1 : 0;
    return true;
  });
  EXPECT_EQ(told, 1U);
  EXPECT_EQ(root().children.size(), 1U);
}

// As when others replace it between a program's search for the name and its opening.
TEST_F(DriveFiles, WhatWasReplacedIsWhatHasItsPlaceNow) {
  std::filesystem::create_directories(folder / "above/below");
  const std::string path = folder.write("above/below/file", "old");
  Node& below = known(known("above"), "below");
  Node& old = known(below, "file");
  for (const char* content : {"newer", "newest"}) {
    folder.write("next", content);
    known("next");
    files.rename(root(), "next", below, "file", /*replaces=*/true);
  }
  auto handle = files.open(old, O_RDONLY);
  EXPECT_TRUE(handle->is_successor);
  EXPECT_FALSE(handle->keeps_pages);
  EXPECT_EQ(content_of(*handle), "newest");
  files.close(std::move(handle));

  const time_t long_ago = 1000000000;
  files.set_times(old, {long_ago, long_ago});
  EXPECT_EQ(files.lookup(below, "file")->attributes.modified, long_ago);
  files.resize(old, nullptr, 3);
  EXPECT_EQ(std::filesystem::file_size(path), 3U);

  files.remove_file(below, "file");
  try {
    files.open(old, O_RDONLY);
    ADD_FAILURE() << "what is gone was opened";
  } catch (const std::exception& error) {
    EXPECT_EQ(host::errno_of(error), ESTALE);
  }
}

TEST_F(DriveFiles, WhatWasReplacedStaysForWhoHasItOpen) {
  folder.write("file", "old");
  folder.write("next", "newer");
  Node& old = known("file");
  known("next");
  auto first = files.open(old, O_RDONLY);
  files.rename(root(), "next", root(), "file", /*replaces=*/true);
  auto second = files.open(old, O_RDONLY);
  EXPECT_FALSE(second->is_successor);
  EXPECT_EQ(content_of(*second), "old");
  files.close(std::move(first));
  files.close(std::move(second));

  auto third = files.open(old, O_RDONLY);
  EXPECT_EQ(content_of(*third), "newer");
  files.close(std::move(third));
}

}  // namespace
