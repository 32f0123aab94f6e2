// What a transfer has to do with the host's handle.
#pragma once

#include "localdisk/shared_value.h"
#include "localdisk/transfer.h"

namespace localdisk {

class TransferWatch {
 public:
  TransferWatch(const _FS_HANDLE& handle, long long total)
      : handle_(handle), total_(total), context_(handle.progress_ctx) {}

  [[nodiscard]] bool stopped() const { return load_shared(handle_.state) >= FS_STATE_STOP; }

  void report(long long done) const {
    if (const auto progress = load_shared(handle_.progress)) progress(total_, done, context_, 0);
  }

 private:
  const _FS_HANDLE& handle_;
  long long total_;
  void* context_;  // read once, so that a transfer reports to one place
};

}  // namespace localdisk
