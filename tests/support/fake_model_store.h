#pragma once

#include "base/error.h"
#include "models/model_store.h"
#include "support/call_journal.h"

#include <functional>
#include <string>
#include <vector>

/// Holds models in memory and notes every call that would change something.
class FakeModelStore final : public ModelStore {
  public:
    explicit FakeModelStore(CallJournal& journal) : m_journal(journal) {}

    std::vector<ListedModel> list() override {
        if (inList) inList();
        return models;
    }
    std::filesystem::path folder(const Model& model) const override { return "/models/" + model.id; }
    void install(const Model& model, const ProgressHandler& progress, std::stop_token stop) override {
        m_journal.note("install " + model.id);
        if (inInstall) inInstall(progress, stop);
    }
    void installFrom(const std::filesystem::path& file, const Model& model, const ProgressHandler& progress,
                     std::stop_token stop) override {
        m_journal.note("install " + model.id + " from " + file.string());
        if (inInstall) inInstall(progress, stop);
    }
    void remove(const std::string& id) override {
        m_journal.note("remove " + id);
        if (inRemove) inRemove();
    }

    std::vector<ListedModel> models;
    std::function<void()> inList;
    std::function<void(const ProgressHandler&, const std::stop_token&)> inInstall;
    std::function<void()> inRemove;

  private:
    CallJournal& m_journal;
};
