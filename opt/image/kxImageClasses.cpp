#include "opt/image/kxImageClasses.h"

#include "opt/image/kxConvertImage.h"
#include "opt/image/kxQuantizeImage.h"
#include "opt/image/kxResizeImage.h"
#include "opt/image/kxShareImages.h"
#include "opt/image/kxTransformAlpha.h"

namespace Kel::Opt
{

void registerImageClasses()
{
    kxRegisterClass<kxCBBox>("kxCBBox", "box of colours");
    kxRegisterClass<kxCBBoxList>("kxCBBoxList", "list of boxes of colours");
    kxRegisterClass<kxImageHistogramBase>("kxImageHistogramBase", "colours of an image at reduced precision");
    kxRegisterClass<kxImageHistogram_RGBA>("kxImageHistogram_RGBA", "histogram of colours with alpha");
    kxRegisterClass<kxImageHistogram_RGB>("kxImageHistogram_RGB", "histogram of colours");
    kxRegisterClass<kxImageHistogram_LA>("kxImageHistogram_LA", "histogram of luminance with alpha");
    kxRegisterClass<kxQuantizeImage>("kxQuantizeImage", "makes a palette for an image");
    kxRegisterClass<kxStdFilterFun>("kxStdFilterFun", "filter for resizing");
    kxRegisterClass<kxBoxFilterFun>("kxBoxFilterFun", "box");
    kxRegisterClass<kxTriangleFilterFun>("kxTriangleFilterFun", "triangle");
    kxRegisterClass<kxBellFilterFun>("kxBellFilterFun", "bell of parabolas");
    kxRegisterClass<kxBSplineFilterFun>("kxBSplineFilterFun", "cubic B-spline");
    kxRegisterClass<kxLanczos3FilterFun>("kxLanczos3FilterFun", "windowed sinc of three lobes");
    kxRegisterClass<kxMitchellFilterFun>("kxMitchellFilterFun", "cubic between sharp and soft");
    kxRegisterClass<kxGaussianFilterFun>("kxGaussianFilterFun", "Gaussian");
    kxRegisterClass<kxZoomImage>("kxZoomImage", "resizes an image with a filter");

    kxRegisterClass<kxConvertImage>("kxConvertImage", "converts images to another format, palettes included");
    kxRegisterClass<kxResizeImage>("kxResizeImage", "resizes the images of textures");
    kxRegisterClass<kxShareImages>("kxShareImages", "makes equal images and equal textures shared");
    kxRegisterClass<kxTransformAlpha>("kxTransformAlpha", "remaps the alpha of images of 32 bits a pixel");
}

} // namespace Kel::Opt
