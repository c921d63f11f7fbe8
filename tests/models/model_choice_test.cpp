#include "models/model_choice.h"

#include "support/some_model.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ModelChoice : public testing::Test {
  protected:
    ListedModel& add(const std::string& id, std::vector<Locale> locales) {
        return models.emplace_back(ListedModel{someModel(id, std::move(locales)), false});
    }
    static std::string idOf(const Model* model) { return model != nullptr ? model->id : "none"; }

    const Locale american{"en_US"};
    const Locale german{"de_DE"};
    std::vector<ListedModel> models;
};

TEST_F(ModelChoice, WithoutAnInstalledModelTheFirstOfTheLocaleIsInstalled) {
    add("one", {german});
    add("two", {american, german});
    add("three", {american});
    EXPECT_EQ(idOf(installedModel(models, american)), "none");
    EXPECT_EQ(idOf(modelToInstall(models, american)), "two");
    EXPECT_EQ(idOf(modelToInstall(models, Locale("fr_FR"))), "none");
}

TEST_F(ModelChoice, WhatIsNotVerifiedIsNotInstalledUnasked) {
    add("one", {american}).model.isVerified = false;
    EXPECT_EQ(idOf(modelToInstall(models, american)), "none");
    EXPECT_THAT(recognisedLocales(models), IsEmpty());
    add("two", {american});
    EXPECT_EQ(idOf(modelToInstall(models, american)), "two");
}

TEST_F(ModelChoice, TheLastInstalledModelOfTheLocaleServes) {
    add("one", {american}).isInstalled = true;
    add("two", {american, german}).isInstalled = true;
    add("three", {american});
    EXPECT_EQ(idOf(installedModel(models, american)), "two");
    models[1].isInstalled = false;
    EXPECT_EQ(idOf(installedModel(models, american)), "one");
    EXPECT_EQ(idOf(installedModel(models, german)), "none");
}

TEST_F(ModelChoice, LocalesComeInTheOrderOfTheModelsEachOnce) {
    add("one", {american, Locale("en_GB")});
    add("two", {german, american, Locale("de_AT")});
    EXPECT_THAT(recognisedLocales(models), ElementsAre(american, Locale("en_GB"), german, Locale("de_AT")));
}

TEST_F(ModelChoice, AnInstalledModelCountsVerifiedOrNot) {
    ListedModel& only = add("one", {german});
    only.model.isVerified = false;
    only.isInstalled = true;
    EXPECT_THAT(recognisedLocales(models), ElementsAre(german));
    EXPECT_EQ(idOf(installedModel(models, german)), "one");
}

TEST_F(ModelChoice, TheDetectorOfSpeechCountsOnceInstalled) {
    ListedModel& detector = add("vad", {});
    detector.model.kind = Model::Kind::sileroVad;
    add("one", {american}).isInstalled = true;
    EXPECT_EQ(idOf(installedVoiceActivity(models)), "none");
    models[0].isInstalled = true;
    EXPECT_EQ(idOf(installedVoiceActivity(models)), "vad");
}

} // namespace
