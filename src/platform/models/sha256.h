#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>

/// The hash of FIPS 180-4 with 256 bits, of bytes that come piece by piece.
class Sha256 {
  public:
    Sha256();
    ~Sha256();
    Sha256(const Sha256&) = delete;
    Sha256& operator=(const Sha256&) = delete;

    void update(std::span<const char> bytes);
    /// Of all bytes so far, in 64 hexadecimal digits in lower case; begins anew.
    std::string digest();

  private:
    struct State;
    std::unique_ptr<State> m_state;
};
