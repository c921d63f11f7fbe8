#include "platform/pipewire/server_keeper.h"

namespace {

constexpr std::chrono::seconds interval{2};

} // namespace

ServerKeeper::ServerKeeper(PipeWireConnection& connection) : m_connection(connection) {
    m_queue.async([this] { look(); });
}

void ServerKeeper::look() {
    m_connection.connect(); // at once while the server is there
    m_queue.asyncAfter(interval, [this] { look(); });
}
