#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/faults/heap.h"

// Sweeps: a call is refused its first request for memory, its second and so on until it needs no more. Each
// refusal has a process of its own, so that what is built once is not there yet, and a call that ends its
// process ends no test.

namespace rz_test {

/// One call with all that it works on.
class Scene {
  public:
    virtual ~Scene() = default;

    /// The call. May be made again after a refusal; must allocate nothing of its own.
    virtual void call() = 0;
    /// After a refusal: how the call ended. std::bad_alloc, unless a scene knows better.
    virtual void expect_refused(const heap::Account& refusal);
    /// After a refusal: what holds of the outputs.
    virtual void expect_untouched() {}
    /// After a call that was refused nothing, be it the first one or one after a refusal.
    virtual void expect_done() = 0;
    /// Destroys what the calls made. All blocks are back then, but for what the next two name.
    virtual void let_go() {}
    /// What the calls lose for good, in the order of the requests: the refused one and the one after it, or
    /// the one that was refused nothing.
    virtual std::vector<heap::Block> lost(const heap::Account&) { return {}; }
    /// Whether a block is made once and stays for the process.
    virtual bool once_only(const heap::Block&) { return false; }
    /// Whether, after this refusal, the call may be made again and works as if nothing had happened.
    virtual bool works_again(const heap::Account&) { return true; }
    /// Whether a refusal of this kind is not looked at by the library, so that it writes through null.
    virtual bool stops_at_null(heap::Kind) { return false; }
};

/// How many requests a call makes. Where lists grow, their number belongs to the standard library.
struct Requests {
    Requests(int exactly) : least(exactly), most(exactly) {}
    Requests(int from, int to) : least(from), most(to) {}
    int least;
    int most;
};

void sweep(const std::function<std::unique_ptr<Scene>()>& make, Requests requests);

/// For scenes without arguments of their own.
template <class AnyScene, class... Arguments>
void sweep_of(Requests requests, Arguments... arguments) {
    sweep([=] { return std::make_unique<AnyScene>(arguments...); }, requests);
}

/// Runs the body in a process of its own, whose failures are failures here.
void in_own_process(const std::function<void()>& body);

/// Demands that the call asks for no memory.
void expect_quiet(const std::function<void()>& call);

/// The sweep of an exported function, or of some that one call covers.
struct ExportedSweep {
    /// Name of the test.
    std::string name;
    /// The functions, each by its line in the list of exports, or by as much of it, up to an argument, as
    /// tells it from others.
    std::vector<std::string> functions;
    std::function<void()> run;
};

// Those of each area.
std::vector<ExportedSweep> curved_sweeps();
std::vector<ExportedSweep> lower_sweeps();
std::vector<ExportedSweep> planar_sweeps();
std::vector<ExportedSweep> quiet_lower_sweeps();
std::vector<ExportedSweep> quiet_sweeps();
std::vector<ExportedSweep> service_sweeps();
std::vector<ExportedSweep> slab_sweeps();

}  // namespace rz_test
