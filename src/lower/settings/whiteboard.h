#pragma once

#include <map>
#include <shared_mutex>
#include <string>

#include "lower/export.h"

/// Process-wide integer settings by name. Safe from any thread.
class RZ_LOWER_API RZ_Whiteboard {
  public:
    /// The one object; never destroyed.
    static RZ_Whiteboard& Instance();
    RZ_Whiteboard(const RZ_Whiteboard&) = delete;
    RZ_Whiteboard& operator=(const RZ_Whiteboard&) = delete;

    /// The value stored under key, or fallback.
    int GetIntVal(const std::string& key, int fallback) const;
    void SetIntVal(const std::string& key, int value);
    /// Nothing happens if there is no such key.
    void Remove(const std::string& key);

  private:
    RZ_Whiteboard() = default;

    mutable std::shared_mutex lock_;
    std::map<std::string, int> values_;
};
