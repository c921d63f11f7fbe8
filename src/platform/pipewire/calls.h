#pragma once

#include "platform/pipewire/graph.h"
#include "platform/pipewire/handles.h"
#include "platform/pipewire/tap_routing.h"

#include <cstdint>
#include <optional>
#include <pipewire/extensions/metadata.h>
#include <span>
#include <string>
#include <vector>

/// The library's calls that exist as macros or need its GNU dialect, behind plain functions. All of them
/// under the loop's lock.
namespace pipewire {

/// Asks for an answer to everything asked before; it arrives as core event "done" with the returned number.
int sync(pw_core& core);
void listen(pw_core& core, Hook& hook, const pw_core_events& events, void* data);

ProxyHandle<pw_registry> registryOf(pw_core& core);
void listen(pw_registry& registry, Hook& hook, const pw_registry_events& events, void* data);

/// Follows a node's properties and its format. Null when the server refuses.
ProxyHandle<pw_node> bindNode(pw_registry& registry, ObjectID id);
void listen(pw_node& node, Hook& hook, const pw_node_events& events, void* data);
/// Closes a device that nobody uses and takes the ports of its channels away, so that they will be given
/// anew.
void closeDevice(pw_node& node, spa_direction direction);
ProxyHandle<pw_metadata> bindMetadata(pw_registry& registry, ObjectID id);
void listen(pw_metadata& metadata, Hook& hook, const pw_metadata_events& events, void* data);

/// A link that neither keeps the application running nor outlives us. Null when out of memory; a refusal
/// comes later, as an event.
ProxyHandle<pw_proxy> createLink(pw_core& core, const TapLink& ends);

struct RawFormat {
    std::uint32_t channels;
    std::uint32_t rate; ///< hertz
};
std::optional<RawFormat> parseRawFormat(const spa_pod& format);

/// Describes interleaved 32-bit float audio at that rate (hertz); lives in `memory`.
const spa_pod* buildFloatFormat(std::span<const std::uint32_t> positions, std::vector<std::uint8_t>& memory,
                                std::uint32_t rate = 48000);

/// The string under `name` of a JSON object such as {"name":"microphone"}; empty when there is none.
std::string nameInJson(const char* json);

} // namespace pipewire
