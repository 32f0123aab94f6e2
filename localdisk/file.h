// A file of this machine, open for one transfer.
#pragma once

#include <cstddef>
#include <string>

namespace localdisk {

// A descriptor and nothing else: a stream of the C library would bring a buffer and a lock that transfers have no use
// for, and on some systems flush the host's own streams. No command that the process runs inherits the descriptor.
//
// Each function leaves the reason of a failure in errno and tries nothing twice, an interrupted call neither. Closing
// on destruction leaves errno alone.
class File {
 public:
  static File open_to_read(const std::string& path);
  // Creates the file or empties it.
  static File create(const std::string& path);

  File(File&& other) noexcept;
  File& operator=(File&&) = delete;
  ~File();

  [[nodiscard]] bool is_open() const { return descriptor_ >= 0; }

  // Goes to `offset` bytes from the start.
  [[nodiscard]] bool seek(long long offset) const;

  // Moves `count` bytes, and answers how many: fewer only where the file ends, the disk is full or a call fails. 0
  // says that there is no going on.
  std::size_t read(unsigned char* out, std::size_t count) const;
  std::size_t write(const unsigned char* bytes, std::size_t count) const;

  // False when not all that was written reached the disk: a full one may only show here.
  [[nodiscard]] bool close();

 private:
  explicit File(int descriptor) : descriptor_(descriptor) {}

  int descriptor_;
};

}  // namespace localdisk
