#pragma once

#include <cstddef>
#include <new>
#include <string>
#include <vector>

#include "lower/tasks/runnable.h"

// Every request for memory of this program passes through replaced allocation functions, those of both
// libraries included. A watched call is told no once, at the request of a given number, and its blocks are
// counted.

namespace rz_test::heap {

enum class Kind { kNew, kNewArray, kMalloc, kAligned, kMapping, kProtection };

struct Block {
    Kind kind = Kind::kNew;
    std::size_t bytes = 0;

    friend bool operator==(const Block& a, const Block& b) { return a.kind == b.kind && a.bytes == b.bytes; }
};

/// "malloc 36", for failure messages.
std::string describe(const Block& block);

enum class Ending { kReturned, kBadAlloc, kCancelled, kOther };

/// What a watched call did.
struct Account {
    /// Number of the watch.
    unsigned watch = 0;
    Ending ending = Ending::kReturned;
    /// The refused one included.
    int requests = 0;
    bool refused = false;
    Block refusedBlock;
    /// What was asked for before the refusal, or in all.
    std::vector<Block> granted;
    /// Releases of an address that was never handed out, or by another function than its own.
    int oddReleases = 0;
};

/// Number of the request that is refused, from 0; none: never.
constexpr int kNone = -1;

// The two ends of watch().
void begin_watch(int refused);
Account end_watch(Ending ending);

/// Runs the call, refusing one request of the calling thread. Nothing else may allocate in it.
template <class Call>
Account watch(int refused, Call&& call) {
    Ending ending = Ending::kReturned;
    begin_watch(refused);
    try {
        call();
    } catch (const std::bad_alloc&) {
        ending = Ending::kBadAlloc;
    } catch (const WKR_CANCEL_EXCEPTION&) {
        ending = Ending::kCancelled;
    } catch (...) {
        ending = Ending::kOther;
    }
    return end_watch(ending);
}

/// Blocks that were handed out in this watch or a later one and are still held, in the order of the requests.
std::vector<Block> held_since(unsigned watch);

}  // namespace rz_test::heap
