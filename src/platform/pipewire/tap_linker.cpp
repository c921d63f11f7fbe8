#include "platform/pipewire/tap_linker.h"

#include "platform/pipewire/calls.h"

#include <algorithm>
#include <utility>

namespace pipewire {

struct TapLinker::Link {
    Link(pw_core& core, const TapLink& linked) : ends(linked), proxy(createLink(core, linked)) {}

    TapLink ends;
    ProxyHandle<pw_proxy> proxy;
    bool gone = false; // removed or refused by the server; let go of outside the proxy's own callbacks
    Hook hook;
};

namespace {

template <typename Link>
const pw_proxy_events& linkEvents() {
    static const pw_proxy_events events = [] {
        pw_proxy_events made{};
        made.version = PW_VERSION_PROXY_EVENTS;
        made.removed = [](void* link) noexcept { static_cast<Link*>(link)->gone = true; };
        made.error = [](void* link, int, int, const char*) noexcept {
            static_cast<Link*>(link)->gone = true;
        };
        return made;
    }();
    return events;
}

} // namespace

TapLinker::TapLinker(Server& server, ObjectID tapNode, std::function<void()> onUnmanaged)
    : m_server(server), m_tapNode(tapNode), m_onUnmanaged(std::move(onUnmanaged)) {
    m_server.graphWatch().add(*this);
    graphChanged(m_server.graphWatch().graph());
}

TapLinker::~TapLinker() {
    m_server.graphWatch().remove(*this);
}

void TapLinker::graphChanged(const Graph& graph) noexcept {
    if (!graph.managedSince && m_onUnmanaged) std::exchange(m_onUnmanaged, nullptr)();
    const std::vector<TapLink> wanted = tapLinks(graph, m_tapNode);
    std::erase_if(m_links, [&](const std::unique_ptr<Link>& link) {
        return link->gone || std::find(wanted.begin(), wanted.end(), link->ends) == wanted.end();
    });
    for (const TapLink& ends : wanted) {
        const bool exists =
            std::any_of(m_links.begin(), m_links.end(),
                        [&](const std::unique_ptr<Link>& link) { return link->ends == ends; });
        if (exists) continue;
        auto link = std::make_unique<Link>(m_server.core(), ends);
        if (!link->proxy) continue;
        pw_proxy_add_listener(link->proxy.get(), link->hook.get(), &linkEvents<Link>(), link.get());
        m_links.push_back(std::move(link));
    }
}

} // namespace pipewire
