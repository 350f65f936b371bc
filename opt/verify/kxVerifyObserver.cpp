#include "opt/verify/kxVerifyObserver.h"

#include "opt/framework/kxOptManager.h"
#include "opt/verify/kxMotionComparison.h"
#include "platform/core/kxReport.h"

namespace Kel::Opt
{

void kxVerifyObserver::beforeRun(const kxRun& run)
{
    m_run = &run;
    m_changes.clear();
    m_lastStepChanged = false;
    m_picture = collect();
    m_motion.reset();
    m_motion = collectMotion();
}

void kxVerifyObserver::afterStep(const kxRunStep& step, kxStepOutcome, double)
{
    m_lastStepChanged = false;
    // A section that names no optimization, or one that was not configured, changes nothing; a comparison costs more
    // than asking.
    if (m_mode == EACH_STEP && step.optimization)
        compare(step.number, step.name);
}

void kxVerifyObserver::afterRun(const kxRun&, bool)
{
    if (m_mode == AT_END)
        compare(0, kxStringRef());
    m_picture.reset();
    m_motion.reset();
    m_run = nullptr;
}

std::unique_ptr<kxDrawList> kxVerifyObserver::collect() const
{
    auto picture = std::make_unique<kxDrawList>();
    if (const auto* scene = kxCast<kxSceneInfo>(m_run->info))
        picture->collect(scene);
    else if (!m_run->info && m_run->manager._optInterface)
        picture->collect(m_run->manager._optInterface->getInfos());
    return picture;
}

// At the times of the picture that it is compared with.
std::unique_ptr<kxMotionList> kxVerifyObserver::collectMotion() const
{
    auto motion = std::make_unique<kxMotionList>();
    const kxInfoList* infos = m_run->manager._optInterface ? m_run->manager._optInterface->getInfos() : nullptr;
    if (const auto* scene = kxCast<kxSceneInfo>(m_run->info))
        motion->collect(scene, infos, m_motion.get());
    else if (!m_run->info)
        motion->collect(infos, m_motion.get());
    return motion;
}

void kxVerifyObserver::compare(int step, kxStringRef name)
{
    std::unique_ptr<kxDrawList> picture = collect();
    if (!picture->isComplete() || !m_picture->isComplete())
    {
        m_changes.push_back(
            {step, name, {kxFormat("more than %zu paths: the picture cannot be verified", kxDrawList::kMaxPaths)}});
        return;
    }
    kxPictureComparison comparison(m_options);
    std::unique_ptr<kxMotionList> motion = collectMotion();
    std::vector<std::string> lines;
    const bool isSame = comparison.compare(*m_picture, *picture);
    if (!isSame)
        lines = comparison.describe(*m_picture, *picture, m_maxLines);
    for (std::string& line : compareMotion(*m_motion, *motion, m_options.motionTolerance, m_maxLines, isSame))
        lines.push_back(std::move(line));
    if (lines.empty())
        return;
    m_changes.push_back({step, name, std::move(lines)});
    m_lastStepChanged = step != 0;
    m_picture = std::move(picture);
    m_motion = std::move(motion);
}

} // namespace Kel::Opt
