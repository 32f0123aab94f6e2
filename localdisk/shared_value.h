// Values that another thread may change while an operation reads them, kept in plain types because their layout is
// the host's.
#pragma once

namespace localdisk {

// The compilers' own functions: std::atomic_ref, which is meant for this, is missing from libc++ before version 19,
// and refuses const objects everywhere.
template <class T>
T load_shared(const T& value) noexcept {
  return __atomic_load_n(&value, __ATOMIC_ACQUIRE);
}

template <class T>
void store_shared(T& value, T now) noexcept {
  __atomic_store_n(&value, now, __ATOMIC_RELEASE);
}

}  // namespace localdisk
