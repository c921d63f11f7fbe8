#include "models/model_catalogue.h"

#include "base/error.h"
#include "models/model_store.h"
#include "support/some_model.h"
#include "support/temporary_folder.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::json;

/// What is wrong with the catalogue.
std::string complaint(const std::string& text) {
    try {
        parseCatalogue(text);
    } catch (const Error& error) {
        EXPECT_EQ(error.domain(), "models");
        EXPECT_EQ(error.code(), static_cast<int>(ModelFailure::catalogue));
        return error.localizedDescription();
    }
    return "nothing";
}

Json entry() {
    return Json::parse(modelText(someModel()));
}

/// The same of one whose entry has this value there.
std::string complaintAbout(const char* key, const Json& value) {
    Json changed = entry();
    changed[key] = value;
    return complaint(Json{{"models", {changed}}}.dump());
}

const std::string damaged = "The catalogue of models is damaged: ";

TEST(ModelCatalogue, AnEntryReadsBackAsItWasWritten) {
    Model model = someModel("small-en", {Locale("en_US"), Locale("en_GB")});
    EXPECT_EQ(parseModel(modelText(model)), model);
    model.kind = Model::Kind::sileroVad;
    model.locales.clear();
    model.archive = Model::Archive::file;
    model.isVerified = false;
    EXPECT_EQ(parseModel(modelText(model)), model);
}

TEST(ModelCatalogue, ModelsKeepTheirOrder) {
    const Json catalogue{
        {"models", {Json::parse(modelText(someModel("b"))), Json::parse(modelText(someModel("a")))}}};
    const std::vector<Model> models = parseCatalogue(catalogue.dump());
    ASSERT_EQ(models.size(), 2U);
    EXPECT_EQ(models[0].id, "b");
    EXPECT_EQ(models[1].id, "a");
}

TEST(ModelCatalogue, UnknownKeysAreIgnored) {
    EXPECT_EQ(complaintAbout("note", 1), "nothing");
}

TEST(ModelCatalogue, WhatIsNoCatalogueIsSaidSo) {
    for (const char* text : {"", "[]", "3", "{", "{\"models\":[]", "\xff"})
        EXPECT_EQ(complaint(text), damaged + "it is no JSON object.") << text;
    for (const char* text : {"{}", R"({"models":{}})", R"({"models":3})"})
        EXPECT_EQ(complaint(text), damaged + "it has no list “models”.") << text;
    EXPECT_EQ(complaint(R"({"models":[3]})"), damaged + "a model is no JSON object.");
    EXPECT_EQ(complaint(R"({"models":[{}]})"), damaged + "a model has no “id”.");
}

TEST(ModelCatalogue, AMissingKeyIsNamed) {
    for (const char* key : {"engine", "kind", "locales", "bytes", "sha256", "url", "archive", "licence",
                            "verified", "checksumSource"}) {
        Json incomplete = entry();
        incomplete.erase(key);
        EXPECT_EQ(complaint(Json{{"models", {incomplete}}}.dump()),
                  damaged + "the model “small-en” has no “" + key + "”.");
    }
}

TEST(ModelCatalogue, AWrongValueIsNamed) {
    const std::vector<std::pair<const char*, std::vector<Json>>> wrong{
        {"engine", {"vosk", "", 3, nullptr}},
        {"kind", {"moonshine", "", 3}},
        {"locales", {Json::array(), "en_US", {3}, {""}, {"_US"}}},
        {"bytes", {0, -1, 1.5, "3", 200000000000}},
        {"sha256", {"", std::string(63, 'a'), std::string(64, 'A'), std::string(64, 'g'), 3}},
        {"url", {"", "models.example", "https://models.example/", 3}},
        {"archive", {"zip", "", 3}},
        {"licence", {"", 3}},
        {"verified", {"true", 1, nullptr}},
        {"checksumSource", {"", 3}},
    };
    for (const auto& [key, values] : wrong)
        for (const Json& value : values)
            EXPECT_EQ(complaintAbout(key, value), damaged + "the model “small-en” has a wrong “" + key + "”.")
                << value;
}

TEST(ModelCatalogue, AnIdThatIsNoPlainNameIsRefused) {
    for (const Json& id :
         std::vector<Json>{"", ".", "..", ".hidden", "a/b", "/", "a b", "ä", "a\n", 3, std::string(101, 'a')})
        EXPECT_EQ(complaintAbout("id", id), damaged + "a model has a wrong “id”.") << id;
}

TEST(ModelCatalogue, OneIdIsOneModel) {
    EXPECT_EQ(complaint(Json{{"models", {entry(), entry()}}}.dump()),
              damaged + "there are two models “small-en”.");
}

TEST(ModelCatalogue, OnlyADetectorOfSpeechKnowsNoLocale) {
    Json detector = entry();
    detector["kind"] = "silero_vad";
    EXPECT_EQ(complaint(Json{{"models", {detector}}}.dump()),
              damaged + "the model “small-en” has a wrong “locales”.");
    detector["locales"] = Json::array();
    EXPECT_EQ(complaint(Json{{"models", {detector}}}.dump()), "nothing");
}

TEST(ModelCatalogue, OursIsRightAndBeginsWithAmericanEnglish) {
    const std::vector<Model> models = parseCatalogue(contentOf(MURMELO_CATALOGUE));
    ASSERT_FALSE(models.empty());
    EXPECT_EQ(models[0].id, "parakeet-tdt_ctc-110m-en-int8");
    EXPECT_EQ(models[0].locales[0], Locale("en_US"));
    EXPECT_TRUE(models[0].isVerified);
    for (const Model& model : models) EXPECT_TRUE(model.url.starts_with("https://")) << model.id;
}

} // namespace
