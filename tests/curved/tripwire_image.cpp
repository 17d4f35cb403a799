#include "tests/curved/tripwire_image.h"

#include <signal.h>
#include <sys/mman.h>

#include <stdexcept>
#include <utility>

namespace rz_test {
namespace {

constexpr std::size_t kPage = 4096;

TripwireImage* current = nullptr;
struct sigaction previous;

void on_fault(int signal, siginfo_t* info, void*) {
    if (current != nullptr && current->fault_at(info->si_addr)) return;
    // Not ours: the instruction faults again under the handler that was there before.
    sigaction(signal, &previous, nullptr);
}

}  // namespace

TripwireImage::TripwireImage(int rows) : rows_(static_cast<std::size_t>(rows)), touched_(rows_) {
    pages_ = mmap(nullptr, rows_ * kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages_ == MAP_FAILED) throw std::runtime_error("no pages for a tripwire image");
    struct sigaction action = {};
    action.sa_sigaction = on_fault;
    action.sa_flags = SA_SIGINFO;
    sigemptyset(&action.sa_mask);
    current = this;
    sigaction(SIGSEGV, &action, &previous);
}

TripwireImage::~TripwireImage() {
    sigaction(SIGSEGV, &previous, nullptr);
    current = nullptr;
    munmap(pages_, rows_ * kPage);
}

std::vector<int> TripwireImage::touched() const {
    return std::vector<int>(touched_.begin(), touched_.begin() + static_cast<std::ptrdiff_t>(touches_));
}

void TripwireImage::at_row(int row, std::function<void()> action) {
    row_ = row;
    action_ = std::move(action);
}

bool TripwireImage::fault_at(const void* address) {
    const char* const base = static_cast<const char*>(pages_);
    const char* const at = static_cast<const char*>(address);
    if (at < base || at >= base + rows_ * kPage || touches_ == rows_) return false;
    const auto row = static_cast<std::size_t>(at - base) / kPage;
    mprotect(static_cast<char*>(pages_) + row * kPage, kPage, PROT_READ | PROT_WRITE);
    touched_[touches_++] = static_cast<int>(row);
    if (static_cast<int>(row) == row_) action_();
    return true;
}

}  // namespace rz_test
