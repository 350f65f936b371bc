// Colour histograms at reduced precision, from which palettes are cut.
#pragma once

#include "opt/image/kxCBBox.h"
#include "platform/gfx/kxImage.h"

#include <span>
#include <vector>

namespace Kel::Opt
{

using namespace Kel::Gfx;

/// How many pixels of an image fall into each cell of its colour space, and the box operations of the median cut over those
/// cells. The derived classes say how an image's components are cut into cells.
///
/// Only occupied cells are kept; each box owns a range of them, so an operation on a box costs what the box holds.
class kxImageHistogramBase : public kxObject
{
    KX_OBJECT(kxImageHistogramBase, kxObject)

    /// How one component is cut: the bits of a cell's number, how much an extent counts when a box is split, and the
    /// logarithm of the cells across one box of the inverse colour map.
    struct Component
    {
        uint8_t bitDepth;
        uint8_t splitWeight;
        uint8_t boxLog;
        uint32_t shift() const { return 8u - bitDepth; }
    };

    /// Configures itself for the images and counts their pixels.
    virtual void build(std::span<const kxSmartPointer<kxImage>> images);
    /// Adds the pixels of an image, whose format is this histogram's.
    virtual void addImage(kxImage& image);
    /// Tightens a box around the occupied cells inside and counts them; a box without any becomes empty.
    virtual void shrinkBox(kxCBBox& box);
    /// Cuts a box in the middle of its longest weighted side: it keeps the lower part, `upper` becomes the other one.
    virtual void splitBox(kxCBBox& box, kxCBBox& upper);
    /// The mean colour of a box as four bytes, each cell counting with its middle; a cell of nothing but pure black or pure
    /// white is just that. `entry` keeps its alpha where that is not averaged.
    virtual void computeMean(const kxCBBox& box, uint8_t entry[4]) const;
    /// Makes a box of the whole histogram.
    virtual void initializeBox(kxCBBox& box);
    /// Chooses the cells by the largest number of different alphas in one image, 0 when no image has alpha.
    virtual void configure(uint32_t distinctAlphaCount) = 0;
    /// The bytes of an RGBA pixel that are the components, as a mask of the colour's word.
    virtual uint32_t getComponentMask() const = 0;

    uint32_t getComponentCount() const { return static_cast<uint32_t>(m_components.size()); }
    const Component& getComponent(uint32_t index) const { return m_components[index]; }
    bool hasTwoLevelAlpha() const { return m_hasTwoLevelAlpha; }

protected:
    /// Place of a component in an RGBA pixel.
    virtual uint32_t getByte(uint32_t component) const { return component; }
    void setUp(std::initializer_list<Component> components, bool hasTwoLevelAlpha);

    bool m_hasTwoLevelAlpha = false;

private:
    struct Cell
    {
        uint8_t at[4];
        uint32_t count;
    };
    void listOccupiedCells();

    std::vector<Component> m_components;
    // Counts by number of cell, in pages of the lowest bits; a page is made when a pixel first falls into it.
    std::vector<uint32_t> m_pages;
    std::vector<uint32_t> m_counts;
    uint32_t m_pageBits = 0;
    std::vector<Cell> m_cells;
    // Pixels that are all zero and all one bits: they alone may fill the first and the last cell.
    uint32_t m_blackCount = 0;
    uint32_t m_whiteCount = 0;
};

/// Red, green, blue and alpha.
class kxImageHistogram_RGBA : public kxImageHistogramBase
{
    KX_OBJECT(kxImageHistogram_RGBA, kxImageHistogramBase)
    void configure(uint32_t distinctAlphaCount) override;
    uint32_t getComponentMask() const override;
};

/// Red, green and blue.
class kxImageHistogram_RGB : public kxImageHistogramBase
{
    KX_OBJECT(kxImageHistogram_RGB, kxImageHistogramBase)
    void configure(uint32_t distinctAlphaCount) override;
    uint32_t getComponentMask() const override;
};

/// Luminance and alpha.
class kxImageHistogram_LA : public kxImageHistogramBase
{
    KX_OBJECT(kxImageHistogram_LA, kxImageHistogramBase)
    void configure(uint32_t distinctAlphaCount) override;
    uint32_t getComponentMask() const override;

protected:
    uint32_t getByte(uint32_t component) const override { return component == 0 ? 0 : 3; }
};

} // namespace Kel::Opt
