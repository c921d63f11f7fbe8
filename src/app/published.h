#pragma once

#include <functional>
#include <utility>

/// What AppState publishes. `none` announces a change of something that the state only passes on.
enum class Field {
    none,
    mics,
    selectedMicID,
    isRecording,
    isStarting,
    isSaving,
    warmingUp,
    elapsed,
    lastRecording,
    status,
    micLevel,
    outputLevel,
    lastDuration,
    isTranscribing,
    transcribeEnabled,
    systemAudioGranted
};

/// A value whose every assignment, that of an equal value too, is announced before it takes effect.
template <typename T>
class Published {
  public:
    using WillChange = std::function<void(Field)>;

    /// `willChange` outlives the value and may be empty.
    Published(const WillChange& willChange, Field field) : m_willChange(willChange), m_field(field) {}
    /// `stored` runs after each assignment.
    Published(const WillChange& willChange, Field field, T initial, std::function<void(const T&)> stored)
        : m_willChange(willChange), m_field(field), m_stored(std::move(stored)), m_value(std::move(initial)) {
    }
    Published(const Published&) = delete;
    ~Published() = default;

    Published& operator=(T value) {
        if (m_willChange) m_willChange(m_field);
        m_value = std::move(value);
        if (m_stored) m_stored(m_value);
        return *this;
    }
    Published& operator=(const Published&) = delete;

    const T& get() const { return m_value; }
    operator const T&() const { return m_value; } // reads like the plain value

  private:
    const WillChange& m_willChange;
    const Field m_field;
    const std::function<void(const T&)> m_stored;
    T m_value{};
};
