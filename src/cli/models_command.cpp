#include "cli/models_command.h"

#include "base/error.h"
#include "cli/arguments.h"
#include "cli/model_installation_job.h"
#include "cli/output.h"
#include "models/megabytes.h"

#include <algorithm>
#include <cstdio>

namespace {

/// Each language once, in the order of the model's locales.
std::vector<std::string> languages(const Model& model) {
    std::vector<std::string> codes;
    for (const Locale& locale : model.locales) {
        const std::string code = locale.languageCode().value_or("");
        if (std::find(codes.begin(), codes.end(), code) == codes.end()) codes.push_back(code);
    }
    return codes;
}

std::string purpose(const Model& model) {
    if (model.kind == Model::Kind::sileroVad) return "finds speech, in any language";
    std::string text;
    for (const std::string& code : languages(model)) text += (text.empty() ? "" : " ") + code;
    return text;
}

std::string asTable(const std::vector<ListedModel>& models) {
    std::size_t width = 0;
    for (const ListedModel& listed : models) width = std::max(width, listed.model.id.size());
    std::string table;
    for (const auto& [model, isInstalled] : models) {
        char columns[64];
        std::snprintf(columns, sizeof columns, "  %7s  %-10s  ", megabytes(model.bytes).c_str(),
                      model.licence.c_str());
        table += (isInstalled ? "* " : "  ") + model.id + std::string(width - model.id.size(), ' ') +
                 columns + purpose(model) + (model.isVerified ? "" : "  (checksum not confirmed)") + "\n";
    }
    return table;
}

std::string asJson(const std::vector<ListedModel>& models) {
    Json::Array list;
    for (const auto& [model, isInstalled] : models) {
        Json::Array locales;
        for (const Locale& locale : model.locales) locales.push_back(locale.identifier());
        list.push_back(Json::Object{{"id", model.id},
                                    {"installed", isInstalled},
                                    {"bytes", model.bytes},
                                    {"locales", std::move(locales)},
                                    {"licence", model.licence},
                                    {"verified", model.isVerified},
                                    {"url", model.url}});
    }
    return jsonResult(std::move(list));
}

ExitStatus listModels(ModelStore& models, const std::string& engineMissing, bool json) {
    const std::vector<ListedModel> all = models.list();
    const ExitStatus printed = printResult(json ? asJson(all) : asTable(all));
    if (!engineMissing.empty()) std::fputs((engineMissing + "\n").c_str(), stderr);
    return printed;
}

ExitStatus installModel(ModelStore& models, const std::string& id,
                        const std::optional<std::filesystem::path>& file, TerminationSignals& signals) {
    const std::vector<ListedModel> all = models.list();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [&](const ListedModel& listed) { return listed.model.id == id; });
    if (found == all.end())
        return reportFailure("There is no speech model “" + id + "”: see “murmelo models”.");
    const Model& model = found->model;
    if (!model.isVerified && !file)
        return reportFailure("Murmelo does not download “" + id +
                             "”, because its checksum is not confirmed (" + model.checksumSource +
                             "). Download " + model.url + " yourself, and name the file with “--from”.");
    installOnTerminal(models, model, file, signals);
    return printResult(models.folder(model).string() + "\n");
}

} // namespace

ExitStatus modelsCommand(int argc, char** argv, ModelStore& models, const std::string& engineMissing,
                         TerminationSignals& signals) {
    const Arguments arguments(argc, argv,
                              {{"json", Arguments::Value::none}, {"from", Arguments::Value::required}});
    if (!arguments.fault().empty()) return reportUsage(arguments.fault());
    const std::vector<std::string>& words = arguments.operands();
    const std::string verb = words.empty() ? "" : words.front();
    if (!words.empty() && verb != "install" && verb != "remove")
        return reportUsage("“models” does not know what to do with “" + verb + "”.");
    if (!words.empty() && words.size() != 2)
        return reportUsage("Which model? Name one (see “murmelo models”).");
    if (arguments.has("from") && verb != "install")
        return reportUsage("“--from” belongs to “models install”.");
    if (arguments.has("json") && !words.empty()) return reportUsage("“--json” lists models only.");
    try {
        if (words.empty()) return listModels(models, engineMissing, arguments.has("json"));
        if (verb == "install") return installModel(models, words[1], arguments.value("from"), signals);
        models.remove(words[1]);
        return ExitStatus::done;
    } catch (const Error& error) {
        return reportFailure(error.localizedDescription());
    }
}
