#pragma once

#include <string>

/// Port: tells the user what happened to a recording while it runs, where he is sure to see it.
class Notices {
  public:
    virtual ~Notices() = default;
    /// A sentence or two. Any thread but a real-time one; returns at once.
    virtual void tell(const std::string& sentence) = 0;
};
