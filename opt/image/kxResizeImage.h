// Smaller textures.
#pragma once

#include "opt/image/kxImageUses.h"
#include "opt/iterate/kxOptVisitObject.h"
#include "platform/attrs/kxTextureAttr.h"

#include <unordered_set>

namespace Kel::Opt
{

using namespace Kel::Attrs;

/// Reconstruction filters by the numbers that scripts use.
enum FilterType : int32_t
{
    BOX = 0,
    TRIANGLE = 1,
    BELL = 2,
    BSPLINE = 3,
    LANCZOS3 = 4,
    MITCHELL = 5,
    GAUSSIAN = 6,
    NEAREST = 7
};
const kxMetaEnum& kxMetaEnumOf(FilterType);

/// Resizes the images of every texture by a factor, within limits. An image that several textures show is resized once.
///
/// What a texture is used for decides how its image is averaged: colours by the light they stand for, normals as directions,
/// other data as plain numbers. Where a material takes the alpha of its surface's colour for coverage (it is masked or
/// blended), colours are weighted by alpha, so that those of transparent texels do not show. Images of textures without a
/// known use are weighted by alpha and otherwise averaged as they are stored.
class kxResizeImage : public kxOptVisitObject
{
    KX_OBJECT(kxResizeImage, kxOptVisitObject)
    static void listFields(kxFields<kxResizeImage>& fields);

    static const char widthHeightToken[];

    float _widthFactor = 0.5f;
    float _heightFactor = 0.5f;
    uint32_t _minHeight = 1;
    uint32_t _minWidth = 1;
    int32_t _maxHeight = -1;
    int32_t _maxWidth = -1;
    bool _resizeMipmap = false;
    bool _useNextPowerOfTwo = false;
    FilterType _filterType = GAUSSIAN;

    kxResizeImage();

    float getHeightFactor() const { return _heightFactor; }
    uint32_t getMinWidth() const { return _minWidth; }
    uint32_t getMinHeight() const { return _minHeight; }
    int32_t getMaxWidth() const { return _maxWidth; }
    int32_t getMaxHeight() const { return _maxHeight; }
    bool getUseNextPowerOfTwo() const { return _useNextPowerOfTwo; }
    void setMinWidth(uint32_t width) { _minWidth = width; }
    void setMinHeight(uint32_t height) { _minHeight = height; }
    void setMaxWidth(int32_t width) { _maxWidth = width; }
    void setMaxHeight(int32_t height) { _maxHeight = height; }
    void setResizeMipmap(bool resize) { _resizeMipmap = resize; }
    void setUseNextPowerOfTwo(bool use) { _useNextPowerOfTwo = use; }
    void setFilterType(FilterType type) { _filterType = type; }

    bool configure(int section) override;
    bool applyInfo(kxInfo* info) override;
    bool apply(kxSmartPointer<kxNode>& root) override;
    bool applyToInfos() override;
    void visitor(kxObject* object) override;
    void postVisit() override;
    kxMetaObject* getVisitedObjectMeta() override;

    /// Resizes an image in place by the settings; `image` may be null.
    void scale(kxImage* image);

private:
    void scaleAs(kxImage& image, kxZoomMeaning meaning);
    kxSmartPointer<kxStdFilterFun> createFilter() const;

    kxImageUses m_uses; // of the images that the run will meet
    std::unordered_set<const kxImage*> m_done;
};

} // namespace Kel::Opt
