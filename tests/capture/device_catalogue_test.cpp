#include "capture/device_catalogue.h"

#include "capture/recorder.h"
#include "support/environment.h"
#include "support/fake_audio_devices.h"

#include <gtest/gtest.h>
#include <unordered_set>

namespace {

class DeviceCatalogueTest : public testing::Test {
  protected:
    std::vector<std::string> inputNames() {
        std::vector<std::string> names;
        for (const InputDevice& device : m_catalogue.inputDevices()) names.push_back(device.name);
        return names;
    }
    FakeAudioDevices m_devices;
    DeviceCatalogue m_catalogue{m_devices};
};

using Names = std::vector<std::string>;

TEST_F(DeviceCatalogueTest, SystemWithoutDevicesYieldsEmptyLists) {
    EXPECT_TRUE(m_catalogue.inputDevices().empty());
    EXPECT_TRUE(Recorder::availableMics(m_devices).empty());
    EXPECT_EQ(Recorder::defaultMicID(m_devices), std::nullopt);
    EXPECT_EQ(m_catalogue.defaultInputDeviceID(), 0U);
}

TEST_F(DeviceCatalogueTest, DeviceWithOutputStreamsOnlyIsAbsent) {
    m_devices.devices = {{1, "out", "Loudspeaker", {}, {2}}, {2, "in", "Microphone", {1}, {}}};
    EXPECT_EQ(inputNames(), Names{"Microphone"});
}

TEST_F(DeviceCatalogueTest, DeviceWhoseNameCannotBeReadIsAbsent) {
    m_devices.devices = {{1, "a", std::nullopt, {1}, {}}, {2, "b", "", {1}, {}}};
    EXPECT_TRUE(m_catalogue.inputDevices().empty());
}

TEST_F(DeviceCatalogueTest, DeviceWithoutIdentifierIsAbsent) {
    m_devices.devices = {{1, std::nullopt, "A", {1}, {}}, {2, "", "B", {1}, {}}};
    EXPECT_TRUE(m_catalogue.inputDevices().empty());
}

TEST_F(DeviceCatalogueTest, NamesThatCompareEqualKeepTheirOrder) {
    m_devices.devices = {{1, "1", "Beta", {1}, {}}, {2, "2", "alpha", {1}, {}}, {3, "3", "beta", {1}, {}}};
    EXPECT_EQ(inputNames(), (Names{"alpha", "Beta", "beta"}));
}

TEST_F(DeviceCatalogueTest, SortingSurvivesNamesThatAreNoUtf8AndAnUnknownLocale) {
    const ScopedEnvironment locale("LC_ALL", "xx_XX.UTF-8");
    m_devices.devices = {{1, "1", "\xff\xfe", {1}, {}}, {2, "2", "a\xc3", {1}, {}}, {3, "3", "B", {1}, {}}};
    EXPECT_EQ(inputNames(), (Names{"a\xc3", "B", "\xff\xfe"}));
}

TEST_F(DeviceCatalogueTest, ChannelsAreCountedOverAllInputStreams) {
    m_devices.devices = {{7, "uid", "Interface", {1, 2}, {8}}};
    const InputDevice expected{7, "uid", "Interface", 3};
    EXPECT_EQ(m_catalogue.inputDevices(), std::vector{expected});
    EXPECT_EQ(m_catalogue.channelCount(7, AudioDevices::Direction::output), 8);
    EXPECT_EQ(m_catalogue.channelCount(99, AudioDevices::Direction::input), 0);
}

TEST_F(DeviceCatalogueTest, MicrophonesComeInDiscoveryOrderWithEqualNamesAsTwoEntries) {
    m_devices.mics = {{"z", "Headset"}, {"a", "Headset"}, {"m", "Built-in"}};
    EXPECT_EQ(Recorder::availableMics(m_devices), m_devices.mics);
}

TEST_F(DeviceCatalogueTest, RatesAreReadAndSet) {
    m_devices.devices = {{1, "a", "A", {1}, {}, 44100.0}};
    EXPECT_EQ(m_catalogue.nominalSampleRate(1), 44100.0);
    EXPECT_EQ(m_catalogue.nominalSampleRate(2), 0.0);
    EXPECT_TRUE(m_catalogue.setNominalSampleRate(1, 48000.0));
    EXPECT_EQ(m_catalogue.nominalSampleRate(1), 48000.0);
    EXPECT_FALSE(m_catalogue.setNominalSampleRate(2, 48000.0));
}

TEST_F(DeviceCatalogueTest, EqualityAndHashCoverAllFields) {
    const InputDevice device{1, "u", "n", 2};
    const std::unordered_set<InputDevice> set{device,           {2, "u", "n", 2}, {1, "v", "n", 2},
                                              {1, "u", "m", 2}, {1, "u", "n", 1}, device};
    EXPECT_EQ(set.size(), 5U);
}

} // namespace
