#include "platform/pipewire/downmix.h"
#include "platform/pipewire/tap_routing.h"

#include <gmock/gmock.h>
#include <string>
#include <utility>

namespace {

using namespace pipewire;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr ObjectID tap = 100;

/// Which port of the application sounds in which channel of the tap.
using Heard = std::pair<ObjectID, std::string>;

class TapRoutingTest : public testing::Test {
  protected:
    TapRoutingTest() {
        m_graph.nodes.push_back({tap, "tap", "Tap", "Stream/Input/Audio", true, "", 8, 48000});
        for (ObjectID i = 0; i < tapChannels.size(); ++i)
            m_graph.ports.push_back({tap + 1 + i, tap, false, false, std::string(tapChannels[i])});
    }

    /// An application with this number; its ports are numbered from there on.
    Node& addApplication(ObjectID id, std::uint32_t formatChannels,
                         const std::vector<std::string>& channels) {
        m_graph.nodes.push_back({id, "app", "App", "Stream/Output/Audio", true, "", formatChannels, 48000});
        for (std::size_t i = 0; i < channels.size(); ++i)
            m_graph.ports.push_back({static_cast<ObjectID>(id + 1 + i), id, true, false, channels[i]});
        return m_graph.nodes.back();
    }

    std::vector<Heard> heard() const {
        std::vector<Heard> all;
        for (const TapLink& link : tapLinks(m_graph, tap)) {
            EXPECT_EQ(link.inputNode, tap);
            all.emplace_back(link.outputPort, tapChannels.at(link.inputPort - tap - 1));
        }
        return all;
    }

    Graph m_graph;
};

TEST_F(TapRoutingTest, StereoGoesLeftAndRight) {
    addApplication(200, 2, {"FL", "FR"});
    EXPECT_THAT(heard(), ElementsAre(Heard{201, "FL"}, Heard{202, "FR"}));
}

TEST_F(TapRoutingTest, OnePortGoesToBothSides) {
    addApplication(200, 1, {"MONO"});
    EXPECT_THAT(heard(), ElementsAre(Heard{201, "FL"}, Heard{201, "FR"}));
}

TEST_F(TapRoutingTest, MonoSpreadOverALoudspeakerGoesLeftAndRightOnce) {
    addApplication(200, 1, {"FL", "FR", "FC", "LFE", "RL", "RR"});
    EXPECT_THAT(heard(), ElementsAre(Heard{201, "FL"}, Heard{202, "FR"}));
}

TEST_F(TapRoutingTest, StereoSpreadOverASurroundLoudspeakerKeepsItsOwnPair) {
    addApplication(200, 2, {"FC", "LFE", "FL", "FR", "RL", "RR"});
    EXPECT_THAT(heard(), ElementsAre(Heard{203, "FL"}, Heard{204, "FR"}));
}

TEST_F(TapRoutingTest, SurroundGoesChannelByChannel) {
    addApplication(200, 6, {"FL", "FR", "FC", "LFE", "RL", "RR"});
    EXPECT_THAT(heard(), ElementsAre(Heard{201, "FL"}, Heard{202, "FR"}, Heard{203, "FC"}, Heard{204, "LFE"},
                                     Heard{205, "RL"}, Heard{206, "RR"}));
}

TEST_F(TapRoutingTest, SurroundFittedToAStereoLoudspeakerGoesLeftAndRight) {
    addApplication(200, 6, {"FL", "FR"});
    EXPECT_THAT(heard(), ElementsAre(Heard{201, "FL"}, Heard{202, "FR"}));
}

TEST_F(TapRoutingTest, AllEightChannelsAreHeard) {
    addApplication(200, 8, {"FL", "FR", "FC", "LFE", "RL", "RR", "SL", "SR"});
    EXPECT_EQ(heard().size(), 8U);
}

TEST_F(TapRoutingTest, UnknownSurroundChannelsAlternate) {
    addApplication(200, 4, {"AUX0", "AUX1", "AUX2", "AUX3"});
    EXPECT_THAT(heard(), ElementsAre(Heard{201, "FL"}, Heard{202, "FR"}, Heard{203, "FL"}, Heard{204, "FR"}));
}

TEST_F(TapRoutingTest, TwoUnnamedChannelsGoLeftAndRight) {
    addApplication(200, 2, {"AUX0", "AUX1"});
    EXPECT_THAT(heard(), ElementsAre(Heard{201, "FL"}, Heard{202, "FR"}));
}

TEST_F(TapRoutingTest, FormatThatIsNotKnownYetCountsAsStereo) {
    addApplication(200, 0, {"FL", "FR", "FC", "LFE", "RL", "RR"});
    EXPECT_THAT(heard(), ElementsAre(Heard{201, "FL"}, Heard{202, "FR"}));
}

TEST_F(TapRoutingTest, LoopbacksAndFiltersAreSkipped) {
    addApplication(200, 2, {"FL", "FR"}).linkGroup = "loopback-1";
    EXPECT_THAT(heard(), IsEmpty());
}

TEST_F(TapRoutingTest, NodeThatHasNotSpokenYetIsNotLinked) {
    addApplication(200, 2, {"FL", "FR"}).infoKnown = false;
    EXPECT_THAT(heard(), IsEmpty());
}

TEST_F(TapRoutingTest, OnlyPlayingApplicationsAreHeard) {
    addApplication(200, 2, {"FL", "FR"}).mediaClass = "Stream/Input/Audio";
    addApplication(300, 1, {"MONO"}).mediaClass = "Audio/Source";
    EXPECT_THAT(heard(), IsEmpty());
}

TEST_F(TapRoutingTest, InputAndMonitorPortsOfAnApplicationDoNotCount) {
    addApplication(200, 2, {"FL", "FR"});
    m_graph.ports.push_back({210, 200, false, false, "FL"});
    m_graph.ports.push_back({211, 200, true, true, "FR"});
    EXPECT_THAT(heard(), ElementsAre(Heard{201, "FL"}, Heard{202, "FR"}));
}

TEST_F(TapRoutingTest, EveryApplicationIsHeard) {
    addApplication(200, 2, {"FL", "FR"});
    addApplication(300, 1, {"MONO"});
    EXPECT_EQ(heard().size(), 4U);
}

TEST_F(TapRoutingTest, NothingIsLinkedBeforeTheTapHasPorts) {
    m_graph.ports.clear();
    addApplication(200, 2, {"FL", "FR"});
    EXPECT_THAT(heard(), IsEmpty());
}

} // namespace
