#include "platform/pipewire/calls.h"

#include <algorithm>
#include <array>
#include <spa/param/audio/format-utils.h>
#include <spa/utils/json.h>

namespace pipewire {

int sync(pw_core& core) {
    return pw_core_sync(&core, PW_ID_CORE, 0);
}

void listen(pw_core& core, Hook& hook, const pw_core_events& events, void* data) {
    pw_core_add_listener(&core, hook.get(), &events, data);
}

ProxyHandle<pw_registry> registryOf(pw_core& core) {
    return ProxyHandle<pw_registry>(pw_core_get_registry(&core, PW_VERSION_REGISTRY, 0));
}

void listen(pw_registry& registry, Hook& hook, const pw_registry_events& events, void* data) {
    pw_registry_add_listener(&registry, hook.get(), &events, data);
}

ProxyHandle<pw_node> bindNode(pw_registry& registry, ObjectID id) {
    return ProxyHandle<pw_node>(
        static_cast<pw_node*>(pw_registry_bind(&registry, id, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, 0)));
}

void listen(pw_node& node, Hook& hook, const pw_node_events& events, void* data) {
    pw_node_add_listener(&node, hook.get(), &events, data);
    std::array<std::uint32_t, 1> wanted{SPA_PARAM_Format};
    pw_node_subscribe_params(&node, wanted.data(), wanted.size());
}

void closeDevice(pw_node& node, spa_direction direction) {
    const spa_command command = SPA_NODE_COMMAND_INIT(SPA_NODE_COMMAND_Suspend);
    pw_node_send_command(&node, &command);
    std::array<std::uint8_t, 256> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), memory.size());
    const void* const oneForAll = spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamPortConfig, SPA_PARAM_PortConfig, SPA_PARAM_PORT_CONFIG_direction,
        SPA_POD_Id(direction), SPA_PARAM_PORT_CONFIG_mode, SPA_POD_Id(SPA_PARAM_PORT_CONFIG_MODE_convert));
    pw_node_set_param(&node, SPA_PARAM_PortConfig, 0, static_cast<const spa_pod*>(oneForAll));
}

ProxyHandle<pw_metadata> bindMetadata(pw_registry& registry, ObjectID id) {
    return ProxyHandle<pw_metadata>(static_cast<pw_metadata*>(
        pw_registry_bind(&registry, id, PW_TYPE_INTERFACE_Metadata, PW_VERSION_METADATA, 0)));
}

void listen(pw_metadata& metadata, Hook& hook, const pw_metadata_events& events, void* data) {
    pw_metadata_add_listener(&metadata, hook.get(), &events, data);
}

ProxyHandle<pw_proxy> createLink(pw_core& core, const TapLink& ends) {
    const PropertiesHandle properties(
        pw_properties_new(PW_KEY_LINK_OUTPUT_NODE, std::to_string(ends.outputNode).c_str(),
                          PW_KEY_LINK_OUTPUT_PORT, std::to_string(ends.outputPort).c_str(),
                          PW_KEY_LINK_INPUT_NODE, std::to_string(ends.inputNode).c_str(),
                          PW_KEY_LINK_INPUT_PORT, std::to_string(ends.inputPort).c_str(), PW_KEY_LINK_PASSIVE,
                          "true", PW_KEY_OBJECT_LINGER, "false", nullptr));
    return ProxyHandle<pw_proxy>(static_cast<pw_proxy*>(pw_core_create_object(
        &core, "link-factory", PW_TYPE_INTERFACE_Link, PW_VERSION_LINK, &properties->dict, 0)));
}

std::optional<RawFormat> parseRawFormat(const spa_pod& format) {
    spa_audio_info_raw info{};
    if (spa_format_audio_raw_parse(&format, &info) < 0) return std::nullopt;
    return RawFormat{info.channels, info.rate};
}

const spa_pod* buildFloatFormat(std::span<const std::uint32_t> positions, std::vector<std::uint8_t>& memory,
                                std::uint32_t rate) {
    spa_audio_info_raw info{};
    info.format = SPA_AUDIO_FORMAT_F32;
    info.rate = rate;
    info.channels = static_cast<std::uint32_t>(positions.size());
    std::copy(positions.begin(), positions.end(), info.position);
    memory.resize(1024);
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), static_cast<std::uint32_t>(memory.size()));
    return spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &info);
}

std::string nameInJson(const char* json) {
    std::array<spa_json, 2> levels{};
    spa_json_init(&levels[0], json, std::char_traits<char>::length(json));
    if (spa_json_enter_object(&levels[0], &levels[1]) <= 0) return {};
    std::array<char, 64> key{};
    while (spa_json_get_string(&levels[1], key.data(), static_cast<int>(key.size())) > 0) {
        std::array<char, 1024> value{};
        if (std::string_view(key.data()) == "name")
            return spa_json_get_string(&levels[1], value.data(), static_cast<int>(value.size())) > 0
                       ? value.data()
                       : std::string();
        const char* skipped = nullptr;
        if (spa_json_next(&levels[1], &skipped) <= 0) return {};
    }
    return {};
}

} // namespace pipewire
