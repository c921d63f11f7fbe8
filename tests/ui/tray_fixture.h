#pragma once

#include "support/fake_tray.h"

#include <gmock/gmock.h>

/// A desktop with a bus and no tray yet.
class TrayFixture : public testing::Test {
  protected:
    PrivateBus m_bus;
    QtBus m_ours{m_bus, "ours"};
};
