// Images in another format.
#pragma once

#include "opt/iterate/kxOptVisitObject.h"
#include "platform/core/kxFile.h"
#include "platform/core/kxStringObj.h"
#include "platform/gfx/kxImage.h"

namespace Kel::Opt
{

using namespace Kel::Gfx;

/// Converts every image of a scene into one format, palettes included, and says for each what became of it. A name list takes
/// images out, or is the list of the only ones to convert.
///
/// Where a format has one bit of alpha, and in palettes for images of one or two different alphas, an alpha of 127 becomes 0
/// and one of 128 becomes 255. In dxt1 a pixel whose alpha is below 128 also loses its colour: it is black, and shows so in a
/// material that does not look at the alpha. An image that is in blocks already is decoded and coded again, and keeps its
/// first level alone.
///
/// The settings go back to their defaults after each application, so one configuration serves one application.
class kxConvertImage : public kxOptVisitObject
{
    KX_OBJECT(kxConvertImage, kxOptVisitObject)
    static void listFields(kxFields<kxConvertImage>& fields);

    static const char formatToken[];
    static const char orderToken[];
    static const char preserveAlphaToken[];
    static const char imageListFilenameToken[];
    static const char isExcludeToken[];
    /// Published for hosts; the setting is read through its field alone.
    static const char palettizationThresholdToken[];

    KX_GFX_TEXTURE_FORMAT _format = rgba_5551_16;
    KX_GFX_IMAGE_ORDER _order = DEFAULT;
    bool _preserveAlpha = false;
    uint32_t _targetAlphaBits = 0;
    kxSmartPointer<kxStringObjList> _imageList = kxNew<kxStringObjList>();
    bool _isExclude = true;
    int32_t _totalSizeSavings = 0;
    kxSmartPointer<kxStringObj> _imageListFilename = kxNew<kxStringObj>();
    int32_t _palettizationThreshold = 100;
    bool _convertIfSmaller = true;

    kxConvertImage();

    bool getIsExclude() const { return _isExclude; }
    int32_t getTotalSizeSavings() const { return _totalSizeSavings; }
    int32_t getPalettizationThreshold() const { return _palettizationThreshold; }
    kxStringObj* getImageListFilename() const { return _imageListFilename; }
    bool getConvertIfSmaller() const { return _convertIfSmaller; }
    void setConvertIfSmaller(bool convert) { _convertIfSmaller = convert; }

    bool configure(int section) override;
    /// Names of formats and orders in any case, and the words of `isExclude`.
    bool readsItself(kxStringRef key, std::string_view value) const override;
    void visitor(kxObject* object) override;
    void postVisit() override;
    kxMetaObject* getVisitedObjectMeta() override;

    /// Converts one image in place and prints what became of it; `image` may be null. `order` has no effect.
    void convertImage(kxImage* image, KX_GFX_TEXTURE_FORMAT format, KX_GFX_IMAGE_ORDER order);
    void reportStatistics();
    /// Fills the name list from a text file, one name in each line, folders left out. Returns the number of names, -1 when
    /// the file cannot be read.
    int parseImageListFile(kxFile& file);
    /// Everything but `_convertIfSmaller` as it is at the start.
    void reset();

private:
    bool passesNameFilter(const kxImage& image);
    bool keepsAlpha(kxImage& image) const;
    bool palettize(kxImage& image, KX_GFX_TEXTURE_FORMAT format);
    bool convertDirectly(kxImage& image, KX_GFX_TEXTURE_FORMAT format);
};

/// Format of that name in any case; -1, with a line on standard output, when there is none.
int32_t parseTextureFormat(kxStringRef name);

} // namespace Kel::Opt
