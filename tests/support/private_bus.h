#pragma once

#include "support/running_program.h"
#include "support/temporary_folder.h"

#include <memory>
#include <string>
#include <vector>

/// A message bus that nobody but the test knows.
class PrivateBus {
  public:
    PrivateBus() {
        writeFile(m_folder / "bus.conf",
                  "<busconfig><type>session</type><listen>" + address() +
                      "</listen><policy context=\"default\"><allow own=\"*\"/><allow send_destination=\"*\"/>"
                      "<allow receive_sender=\"*\"/></policy></busconfig>");
        m_daemon = std::make_unique<RunningProgram>(std::vector<std::string>{
            "dbus-daemon", "--nofork", "--nopidfile", "--config-file=" + (m_folder / "bus.conf").string()});
    }

    std::string address() const { return "unix:path=" + (m_folder / "bus").string(); }
    void end() { m_daemon.reset(); }

  private:
    TemporaryFolder m_folder;
    std::unique_ptr<RunningProgram> m_daemon;
};
