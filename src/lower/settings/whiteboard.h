#pragma once

#include <string>

#include "lower/export.h"

/// Process-wide integer settings by name. Safe from any thread.
class RZ_LOWER_API RZ_Whiteboard {
  public:
    static RZ_Whiteboard& Instance();

    /// The value stored under key, or fallback.
    int GetIntVal(const std::string& key, int fallback) const;
    void SetIntVal(const std::string& key, int value);
    void Remove(const std::string& key);

  private:
    RZ_Whiteboard() = default;
};
