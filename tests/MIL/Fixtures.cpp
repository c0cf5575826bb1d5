#include "Fixtures.h"

#include <cmath>
#include <map>

namespace vorlin::mil::test {

namespace {

Tolerance toleranceOf(const nlohmann::json& json)
{
    return {.exact = json.value("exact", false),
            .absolute = json.value("abs", 0.0),
            .relative = json.value("rel", 0.0),
            .rms = json.value("rms", 0.0)};
}

Tolerance toleranceFor(const nlohmann::json& entry, const std::string& output)
{
    const nlohmann::json& all = entry.at("tolerance");
    return toleranceOf(all.contains(output) ? all.at(output) : all);
}

std::string checkOutputs(const std::filesystem::path& folder, const nlohmann::json& entry,
                         const nlohmann::json& step, const std::vector<NamedOutput>& outputs,
                         double allowance)
{
    std::map<std::string, const NamedOutput*> byName;
    for (const NamedOutput& output : outputs) {
        byName[output.name] = &output;
    }
    std::string wrong;
    for (const auto& [name, file] : step.at("outputs").items()) {
        if (!byName.contains(name)) {
            wrong += name + " is missing; ";
            continue;
        }
        Tolerance tolerance = toleranceFor(entry, name);
        tolerance.absolute *= allowance;
        tolerance.relative *= allowance;
        const NamedOutput& output = *byName[name];
        const std::string text = difference(output.type, output.bytes,
                                            readNpy(folder / file.get<std::string>()), tolerance);
        wrong += text.empty() ? "" : name + " " + text + "; ";
    }
    return wrong;
}

} // namespace

std::filesystem::path fixtures()
{
    return VORLIN_MIL_FIXTURES;
}

std::string difference(const TensorType& type, const std::vector<std::byte>& bytes,
                       const NpyTensor& wanted, const Tolerance& tolerance)
{
    if (type != wanted.type) {
        return "is " + describe(type) + ", not " + describe(wanted.type);
    }
    const TensorView x{type, bytes.data()};
    const TensorView y = wanted.view();
    double squares = 0;
    double reference = 0;
    double worst = 0;
    std::string message;
    for (std::int64_t i = 0; i < y.elements(); ++i) {
        const double a = x.number(i);
        const double b = y.number(i);
        if (a == b || (std::isnan(a) && std::isnan(b))) {
            reference += std::isfinite(b) ? b * b : 0;
            continue;
        }
        const double off = std::abs(a - b);
        squares += off * off;
        reference += b * b;
        const double allowed =
            tolerance.exact ? 0 : tolerance.absolute + tolerance.relative * std::abs(b);
        if (!(off <= allowed) && !(off / allowed <= worst)) {
            worst = off / allowed;
            message = "at " + std::to_string(i) + " is " + std::to_string(a) + ", not " +
                      std::to_string(b) + " (" + std::to_string(worst) + " times the tolerance)";
        }
    }
    const double rms = reference == 0 ? std::sqrt(squares) : std::sqrt(squares / reference);
    if (tolerance.rms != 0 && !(rms <= tolerance.rms)) {
        message += " rms " + std::to_string(rms);
    }
    return message;
}

std::string runCase(const std::filesystem::path& folder, const nlohmann::json& entry,
                    const Model::Options& options, double allowance)
{
    Model model = Model::load(folder / entry.at("bundle").get<std::string>(), options);
    const nlohmann::json steps =
        entry.contains("sequence") ? entry.at("sequence") : nlohmann::json::array({entry});
    std::string wrong;
    for (const nlohmann::json& step : steps) {
        std::vector<NpyTensor> tensors;
        std::vector<std::string> names;
        for (const auto& [name, file] : step.at("inputs").items()) {
            tensors.push_back(readNpy(folder / file.get<std::string>()));
            names.push_back(name);
        }
        std::vector<NamedInput> inputs;
        for (std::size_t i = 0; i < tensors.size(); ++i) {
            inputs.push_back({names[i], tensors[i].view()});
        }
        wrong += checkOutputs(folder, entry, step, model.predict(inputs), allowance);
    }
    return wrong;
}

} // namespace vorlin::mil::test
