#include "platform/pipewire/server.h"

#include "base/error.h"
#include "platform/pipewire/calls.h"

#include <cerrno>
#include <utility>

namespace pipewire {

namespace {

CoreHandle connectedCore(pw_context& context) {
    CoreHandle core(pw_context_connect(&context, nullptr, 0));
    if (!core) throw Error::posix(errno);
    return core;
}

/// What exists is announced within the first round trip; what it says about itself, having been asked for
/// upon its announcement, within the second.
constexpr int roundTripsOfFirstLook = 2;

} // namespace

const pw_core_events Server::events = [] {
    pw_core_events made{};
    made.version = PW_VERSION_CORE_EVENTS;
    made.done = onDone;
    made.error = onError;
    return made;
}();

Server::Server(pw_context& context, SharedGraph& graph, bool wasThereBeforeUs, std::function<void()> onChange)
    : m_onChange(std::move(onChange)), m_core(connectedCore(context)),
      m_graphWatch(*m_core, graph, wasThereBeforeUs, [this] { m_onChange(); }) {
    listen(*m_core, m_coreHook, events, this);
    m_awaited = sync(*m_core);
}

Server::~Server() = default;

bool Server::hasFirstLook() const {
    const Graph& graph = m_graphWatch.graph();
    const bool defaultsChosen = !graph.defaultSource.empty() || !graph.defaultSink.empty();
    return m_roundTrips >= roundTripsOfFirstLook && defaultsChosen;
}

void Server::onDone(void* self, std::uint32_t id, int sequence) noexcept {
    Server& server = *static_cast<Server*>(self);
    if (id != PW_ID_CORE || sequence != server.m_awaited) return;
    server.m_graphWatch.endFirstLook();
    if (++server.m_roundTrips < roundTripsOfFirstLook) server.m_awaited = sync(*server.m_core);
    server.m_onChange();
}

void Server::onError(void* self, std::uint32_t id, int /*sequence*/, int result,
                     const char* /*message*/) noexcept {
    Server& server = *static_cast<Server*>(self);
    // Errors of other objects reach those objects; only a broken connection ends the server.
    if (id != PW_ID_CORE || result != -EPIPE || !server.m_alive) return;
    server.m_alive = false;
    server.m_graphWatch.forget();
    server.m_onChange();
}

} // namespace pipewire
