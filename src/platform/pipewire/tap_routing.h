#pragma once

#include "platform/pipewire/graph.h"

namespace pipewire {

/// A connection from an application's output port to one of the tap's input ports.
struct TapLink {
    ObjectID outputNode;
    ObjectID outputPort;
    ObjectID inputNode;
    ObjectID inputPort;

    bool operator==(const TapLink&) const = default;
};

/// The links that let the tap hear every playing application exactly once.
///
/// An application's stream may have more ports than it has channels, because its stream is spread over the
/// loudspeaker's channels: only as many as it plays by itself count. Streams of a link group belong to
/// loopbacks and filters, which play what an application already plays.
std::vector<TapLink> tapLinks(const Graph& graph, ObjectID tapNode);

} // namespace pipewire
