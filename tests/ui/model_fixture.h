#pragma once

#include "app/app_state_fixture.h"
#include "ui/app_state_model.h"

#include <QCoreApplication>
#include <optional>

/// Gives everything that has been posted to the event loop, and what follows of it, its turn.
inline void runEventLoop() {
    for (int turn = 0; turn < 5; ++turn) {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
    }
}

/// A state among fakes with its model.
class ModelFixture : public AppStateFixture {
  protected:
    void SetUp() override {
        launch();
        m_state->willChange = nullptr; // the model's place
        m_model.emplace(*m_state, m_workspace, std::chrono::milliseconds(0));
        settle();
        m_journal.clear();
    }

    /// What is on its way arrives, the views know of it, and what they did then has arrived too.
    void show() {
        for (int round = 0; round < 2; ++round) {
            settle();
            runEventLoop();
        }
    }

    std::optional<AppStateModel> m_model;
};
