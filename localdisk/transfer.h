// What the host brings to a transfer: the handle that stops and follows it, the receiver of what is read and the
// source of what is written. All of it belongs to the host and is borrowed for one call.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

// Content travels in pieces of at most this many bytes.
inline constexpr std::size_t FS_CHUNK_SIZE = 524288;

// A transfer stops when _FS_HANDLE::state reaches this value.
inline constexpr std::int32_t FS_STATE_STOP = 3;

// The host's transfer handle. The host may keep further members after these, and may change `state` and `progress`
// from any thread while a transfer runs: both are read afresh before every use.
struct _FS_HANDLE {
  std::int32_t reserved1 = 0;
  std::int32_t state = 0;
  void* reserved2 = nullptr;
  void (*progress)(long long total, long long done, void* ctx, double zero) = nullptr;  // may be null
  void* progress_ctx = nullptr;
};

// Receives the chunks of a Read, in file order, on the thread that called Read.
class IFetchCallback {
 public:
  // `data` holds `length` bytes that stand at `offset` of the file, and lives until the call returns. `*out` is 0 and
  // ignored afterwards, as is the result.
  virtual int OnData(long long offset, const unsigned char* data, unsigned long long length, long long* out) = 0;

 protected:
  ~IFetchCallback() = default;
};

// One block that an Upload asks for.
struct _FS_CACHE_REQUEST {
  unsigned char* buffer = nullptr;  // in: room for `capacity` bytes; out: where the block stands, here or in the host
  long long offset = 0;             // bytes written so far, which is where the block belongs
  long long capacity = 0;
  long long delivered = 0;  // out: the block's length
  std::shared_ptr<_FS_HANDLE> handle;
  long long total_size = 0;
  std::int64_t reserved[3] = {};
};

// Serves the blocks of an Upload on the thread that called it.
class ICacheIO {
 public:
  // Returns 0 when the request was served; anything else ends the upload, and so does a block of no bytes or one that
  // starts within the module's `buffer` and claims more than is left of it.
  virtual int ReadBlock(_FS_CACHE_REQUEST* request) = 0;

 protected:
  ~ICacheIO() = default;
};

// No value changes what the module does.
enum UPLOAD_FLAG : int {};

#if defined(__LP64__)
static_assert(offsetof(_FS_HANDLE, state) == 4 && offsetof(_FS_HANDLE, reserved2) == 8);
static_assert(offsetof(_FS_HANDLE, progress) == 16 && offsetof(_FS_HANDLE, progress_ctx) == 24);
static_assert(sizeof(_FS_HANDLE) == 32);
static_assert(offsetof(_FS_CACHE_REQUEST, buffer) == 0 && offsetof(_FS_CACHE_REQUEST, offset) == 8);
static_assert(offsetof(_FS_CACHE_REQUEST, capacity) == 16 && offsetof(_FS_CACHE_REQUEST, delivered) == 24);
static_assert(offsetof(_FS_CACHE_REQUEST, handle) == 32 && offsetof(_FS_CACHE_REQUEST, total_size) == 48);
static_assert(offsetof(_FS_CACHE_REQUEST, reserved) == 56 && sizeof(_FS_CACHE_REQUEST) == 80);
static_assert(sizeof(UPLOAD_FLAG) == 4);
#endif
