#include "tools/kxopt/kxRunReport.h"

#include "tools/kxopt/kxJsonWriter.h"

using namespace Kel::Opt;

namespace Kel::Tool
{

namespace
{

void writeFile(kxJsonWriter& json, const char* key, const std::string& path, uint64_t bytes)
{
    json.key(key);
    if (path.empty())
        return json.null();
    json.beginObject();
    json.member("path", path);
    json.member("bytes", bytes);
    json.endObject();
}

void writeAmounts(kxJsonWriter& json, const char* key, const kxSceneAmounts& amounts)
{
    json.key(key).beginObject();
    amounts.forEach([&](const char* name, uint64_t amount) { json.member(name, amount); });
    json.endObject();
}

void writeStep(kxJsonWriter& json, const kxRunReport::Step& step)
{
    json.beginObject();
    json.member("number", step.number);
    json.member("name", step.name);
    json.member("result", getOutcomeName(step.outcome));
    json.member("seconds", step.seconds);
    json.key("settings").beginObject();
    for (const kxParameter& setting : step.settings)
    {
        json.key(setting.key);
        writeValue(json, setting);
    }
    json.endObject();
    json.key("counters").beginObject();
    for (const kxOptBase::Counter& counter : step.counters)
        json.member(counter.name, counter.value);
    json.endObject();
    json.key("refusals").beginArray();
    for (const kxOptBase::Refusal& refusal : step.refusals)
    {
        json.beginObject();
        json.member("reason", refusal.reason);
        json.member("count", refusal.count);
        json.key("examples").beginArray();
        for (const std::string& example : refusal.examples)
            json.text(example);
        json.endArray();
        json.endObject();
    }
    json.endArray();
    json.endObject();
}

std::vector<kxParameter> settingsOf(const kxOptBase* optimization)
{
    return optimization ? listParameters(*optimization, kxOptBase::staticMetaObject()) : std::vector<kxParameter>();
}

} // namespace

void kxRunReport::beforeRun(const kxRun&)
{
    m_begun = true;
}

void kxRunReport::beforeStep(const kxRunStep& step)
{
    // Here, not behind the step: an optimization may use its fields while it works.
    m_settings = settingsOf(step.optimization);
}

void kxRunReport::afterStep(const kxRunStep& step, kxStepOutcome outcome, double seconds)
{
    Step result;
    result.number = step.number;
    result.name = step.name.str();
    result.outcome = outcome;
    result.seconds = seconds;
    result.settings = outcome == kxStepOutcome::NOT_CONFIGURED ? settingsOf(step.optimization) : std::move(m_settings);
    m_settings.clear();
    if (step.optimization)
    {
        result.counters = step.optimization->getCounters();
        result.refusals = step.optimization->getRefusals();
    }
    m_steps.push_back(std::move(result));
}

std::string kxRunReport::toJson(const Summary& summary) const
{
    kxJsonWriter json;
    json.beginObject();
    json.member("schema", kSchemaVersion);
    json.member("program", "kxopt " KXOPT_VERSION);
    writeFile(json, "input", summary.input, summary.inputBytes);
    json.member("script", summary.script);
    writeFile(json, "output", summary.output, summary.outputBytes);
    json.member("result", summary.result);
    writeAmounts(json, "before", summary.before);
    writeAmounts(json, "after", summary.after);
    json.key("steps").beginArray();
    for (const Step& step : m_steps)
        writeStep(json, step);
    json.endArray();
    json.endObject();
    return json.getText();
}

} // namespace Kel::Tool
