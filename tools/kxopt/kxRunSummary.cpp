#include "tools/kxopt/kxRunSummary.h"

#include "tools/kxopt/kxText.h"

#include "platform/core/kxReport.h"

#include <cstdlib>

using namespace Kel::Opt;

namespace Kel::Tool
{

namespace
{

std::string amount(const std::string& what, int64_t number)
{
    return what + " " + (number < 0 ? "-" : "") + groupDigits(static_cast<uint64_t>(std::abs(number)));
}

void addStep(kxTable& table, const kxRunReport::Step& step)
{
    std::vector<std::string> lines;
    if (step.outcome != kxStepOutcome::DONE)
        lines.push_back(getOutcomeName(step.outcome));
    for (const kxOptBase::Counter& counter : step.counters)
        if (counter.value != 0)
            lines.push_back(amount(counter.name, counter.value));
    if (lines.empty())
        lines.push_back("nothing to do");
    for (const kxOptBase::Refusal& refusal : step.refusals)
        lines.push_back("left alone, " + amount(refusal.reason, refusal.count));
    for (size_t i = 0; i < lines.size(); ++i)
        table.addRow({i ? "" : std::to_string(step.number), i ? "" : oneLine(step.name), oneLine(lines[i])});
}

// "imageBytes" gives "image bytes".
std::string wordsOf(const char* key)
{
    std::string words;
    for (; *key; ++key)
        if (*key >= 'A' && *key <= 'Z')
            words.append(1, ' ').append(1, static_cast<char>(*key - 'A' + 'a'));
        else
            words += *key;
    return words;
}

} // namespace

std::string describeRun(const std::vector<kxRunReport::Step>& steps, const kxRunReport::Summary& summary)
{
    kxTable stepTable("rll");
    for (const kxRunReport::Step& step : steps)
        addStep(stepTable, step);

    kxTable amounts("lrr");
    amounts.addRow({"", "before", "after"});
    const auto addRow = [&](const std::string& name, uint64_t before, uint64_t after)
    {
        if (before || after)
            amounts.addRow({name, groupDigits(before), groupDigits(after)});
    };
    std::vector<uint64_t> after;
    summary.after.forEach([&](const char*, uint64_t value) { after.push_back(value); });
    size_t index = 0;
    summary.before.forEach([&](const char* name, uint64_t value) { addRow(wordsOf(name), value, after[index++]); });
    if (!summary.output.empty())
        addRow("file bytes", summary.inputBytes, summary.outputBytes);
    double seconds = 0;
    for (const kxRunReport::Step& step : steps)
        seconds += step.seconds;
    amounts.addRow({"seconds", "", Core::kxFormat("%.1f", seconds)});
    return stepTable.toText(0) + "\n" + amounts.toText(0);
}

} // namespace Kel::Tool
