// A system whose calls fail on demand.
//
// The program's own code, its seam included, is linked as it is, but its calls of the C library go
// through here (the linker's --wrap): the n-th open, read, write and so on of a run can be made to
// fail as it fails on a full disk, a broken one, or under a signal.
// Faults that belong to a place in a file come whichever thread gets there.
#ifndef MOLDEX_TESTS_FAULTS_SYSTEM_FAULTS_H_
#define MOLDEX_TESTS_FAULTS_SYSTEM_FAULTS_H_

#include <array>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "support/run_program.h"

namespace moldex::test {

enum class Call {
  kOpen,
  kRead,
  kWrite,
  kSeek,
  kClose,
  kMkdir,
  kChmod,
  kUtime,
  kTruncate,
  kLink,
  kThread,  // is made
  kMemory   // is asked for, by operator new
};
inline constexpr Call kAllCalls[] = {Call::kOpen,  Call::kRead,   Call::kWrite,    Call::kSeek,
                                     Call::kClose, Call::kMkdir,  Call::kChmod,    Call::kUtime,
                                     Call::kLink,  Call::kThread, Call::kTruncate, Call::kMemory};
const char* NameOf(Call call);

// How many calls of each kind a run made.
using CallCounts = std::array<int, std::size(kAllCalls)>;
inline int CountOf(const CallCounts& counts, Call call) {
  return counts[static_cast<std::size_t>(call)];
}

enum class Fault {
  kNoSpace,
  kIoError,
  kInterrupted,   // the call fails once with EINTR, as a signal makes it
  kOneByteShort,  // read and write move a byte less than asked
  kStaysFull,     // half of this write fits, and nothing more; no memory is left from then on
  kEndsThere,     // the file does; only with FaultPlan::file
  kFewHandles,    // no open gives a descriptor from number `nth` on
  kSignal         // SIGTERM comes during the call, which succeeds
};

struct FaultPlan {
  Call call;
  Fault fault;
  int nth;  // from 1
  // With a file, the bytes of it from number `nth` on, counted from 0, are those that fail.
  std::string file = {};
};

struct FaultyRun {
  int status = -1;
  std::string out;
  CallCounts calls{};
};

// Runs the whole program in a child of this process: `arguments` in `folder`, after `prepare`.
FaultyRun RunWithFaults(const std::filesystem::path& folder, const Words& arguments,
                        const std::vector<FaultPlan>& plans,
                        const std::function<void()>& prepare = {});

}  // namespace moldex::test

#endif  // MOLDEX_TESTS_FAULTS_SYSTEM_FAULTS_H_
