#include "platform/models/sha256.h"

#include <array>
#include <cstdint>
#include <nettle/sha2.h>

struct Sha256::State {
    sha256_ctx context;
};

Sha256::Sha256() : m_state(std::make_unique<State>()) {
    sha256_init(&m_state->context);
}

Sha256::~Sha256() = default;

void Sha256::update(std::span<const char> bytes) {
    sha256_update(&m_state->context, bytes.size(), reinterpret_cast<const std::uint8_t*>(bytes.data()));
}

std::string Sha256::digest() {
    std::array<std::uint8_t, SHA256_DIGEST_SIZE> bytes{};
    sha256_digest(&m_state->context, bytes.size(), bytes.data());
    constexpr const char* digits = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += digits[byte / 16];
        text += digits[byte % 16];
    }
    return text;
}
