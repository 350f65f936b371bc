// Verification around a run.
#pragma once

#include "opt/framework/kxRunObserver.h"
#include "opt/verify/kxMotionList.h"
#include "opt/verify/kxPictureComparison.h"

#include <memory>

namespace Kel::Opt
{

/// Remembers the picture when a run begins, and compares when it ends, or after every step. A run may go on after a
/// step that changed the picture: the next steps are compared with what it left.
///
/// The picture is also that of the clips, at times at their keys and between them. Cost: one walk over all paths for each
/// comparison, and about what loading the clips costs.
class kxVerifyObserver : public kxRunObserver
{
public:
    enum Mode
    {
        AT_END,
        EACH_STEP
    };

    explicit kxVerifyObserver(Mode mode) : kxVerifyObserver(mode, kxPictureComparison::Options(), 20) {}
    kxVerifyObserver(Mode mode, const kxPictureComparison::Options& options, size_t maxLines)
        : m_mode(mode), m_options(options), m_maxLines(maxLines)
    {
    }

    /// A change that was found.
    struct Change
    {
        int step;                       ///< number of the step that made it; 0 for the run as a whole
        kxStringRef name;               ///< of the step's optimization; null for the run as a whole
        std::vector<std::string> lines; ///< where
    };
    const std::vector<Change>& getChanges() const { return m_changes; }
    /// True when every comparison was made and found the same picture.
    bool isSame() const { return m_changes.empty(); }
    /// The step that was compared last changed the picture.
    bool hasLastStepChanged() const { return m_lastStepChanged; }

    void beforeRun(const kxRun& run) override;
    void afterStep(const kxRunStep& step, kxStepOutcome outcome, double seconds) override;
    void afterRun(const kxRun& run, bool completed) override;

private:
    std::unique_ptr<kxDrawList> collect() const;
    std::unique_ptr<kxMotionList> collectMotion() const;
    void compare(int step, kxStringRef name);

    Mode m_mode;
    kxPictureComparison::Options m_options;
    size_t m_maxLines;
    const kxRun* m_run = nullptr; // while it lasts
    std::unique_ptr<kxDrawList> m_picture;
    std::unique_ptr<kxMotionList> m_motion;
    std::vector<Change> m_changes;
    bool m_lastStepChanged = false;
};

} // namespace Kel::Opt
