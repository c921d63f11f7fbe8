#include "models/model_choice.h"

#include <algorithm>

namespace {

bool recognises(const Model& model, const Locale& locale) {
    return std::find(model.locales.begin(), model.locales.end(), locale) != model.locales.end();
}

} // namespace

const Model* installedModel(const std::vector<ListedModel>& models, const Locale& locale) {
    const auto found = std::find_if(models.rbegin(), models.rend(), [&](const ListedModel& listed) {
        return listed.isInstalled && recognises(listed.model, locale);
    });
    return found == models.rend() ? nullptr : &found->model;
}

const Model* modelToInstall(const std::vector<ListedModel>& models, const Locale& locale) {
    const auto found = std::find_if(models.begin(), models.end(), [&](const ListedModel& listed) {
        return listed.model.isVerified && recognises(listed.model, locale);
    });
    return found == models.end() ? nullptr : &found->model;
}

const Model* installedVoiceActivity(const std::vector<ListedModel>& models) {
    const auto found = std::find_if(models.begin(), models.end(), [](const ListedModel& listed) {
        return listed.isInstalled && listed.model.kind == Model::Kind::sileroVad;
    });
    return found == models.end() ? nullptr : &found->model;
}

std::vector<Locale> recognisedLocales(const std::vector<ListedModel>& models) {
    std::vector<Locale> locales;
    for (const ListedModel& listed : models) {
        if (!listed.isInstalled && !listed.model.isVerified) continue;
        for (const Locale& locale : listed.model.locales)
            if (std::find(locales.begin(), locales.end(), locale) == locales.end()) locales.push_back(locale);
    }
    return locales;
}
