#pragma once

#include "app/settings_store.h"
#include "support/call_journal.h"

#include <map>
#include <variant>

/// Settings in memory, which outlive the states of a test like a file does.
class FakeSettings final : public SettingsStore {
  public:
    explicit FakeSettings(CallJournal& journal) : m_journal(journal) {}

    std::optional<std::string> string(const std::string& key) const override {
        const auto found = values.find(key);
        if (found == values.end()) return std::nullopt;
        return std::get<std::string>(found->second);
    }
    bool boolean(const std::string& key) const override {
        const auto found = values.find(key);
        return found != values.end() && std::get<bool>(found->second);
    }
    void setString(const std::string& key, const std::optional<std::string>& value) override {
        m_journal.note(value ? "store " + key + "=" + *value : "remove " + key);
        if (value)
            values[key] = *value;
        else
            values.erase(key);
    }
    void setBoolean(const std::string& key, bool value) override {
        m_journal.note("store " + key + "=" + (value ? "true" : "false"));
        values[key] = value;
    }

    std::map<std::string, std::variant<std::string, bool>> values;

  private:
    CallJournal& m_journal;
};
