#include "lower/settings/whiteboard.h"

#include <mutex>

RZ_Whiteboard& RZ_Whiteboard::Instance() {
    static RZ_Whiteboard& instance = *new RZ_Whiteboard;
    return instance;
}

int RZ_Whiteboard::GetIntVal(const std::string& key, int fallback) const {
    const std::shared_lock<std::shared_mutex> guard(lock_);
    const auto found = values_.find(key);
    return found == values_.end() ? fallback : found->second;
}

void RZ_Whiteboard::SetIntVal(const std::string& key, int value) {
    const std::unique_lock<std::shared_mutex> guard(lock_);
    values_[key] = value;
}

void RZ_Whiteboard::Remove(const std::string& key) {
    const std::unique_lock<std::shared_mutex> guard(lock_);
    values_.erase(key);
}
