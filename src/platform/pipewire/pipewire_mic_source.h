#pragma once

#include "capture/mic_source.h"
#include "platform/pipewire/connection.h"

/// Opens microphones by their node.name.
class PipeWireMicSourceFactory final : public MicSourceFactory {
  public:
    explicit PipeWireMicSourceFactory(PipeWireConnection& connection) : m_connection(connection) {}
    /// Null also when there is no sound server, or no session manager that could link it. May take as long as
    /// PipeWireConnection::connect.
    std::unique_ptr<MicSource> open(const std::string& id) override;

  private:
    PipeWireConnection& m_connection;
};
