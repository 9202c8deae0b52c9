#pragma once

#include <cstddef>
#include <mutex>
#include <optional>
#include <vector>

#include "Image.h"

namespace Orvane {

/// The mean of images of one layout, each of equal weight, without keeping any of them. For any
/// number of threads.
///
/// Sums are 32-bit floats: they hold thousands of 16-bit passes without a rounding that shows.
class RunningMean {
  public:
    /// `withNoise` keeps two more figures per pixel.
    explicit RunningMean(bool withNoise) : keepsNoise(withNoise) {}

    enum class Mismatch {
        IsDamage,    ///< throws Failure (DamagedImage)
        BeginsAnew,  ///< the images before are forgotten
    };
    /// What happens when the image does not match those before; answers how many are forgotten.
    int add(const ReceivedImage& image, Mismatch mismatch = Mismatch::IsDamage);

    /// Never 0 again after the first image.
    int count() const;
    /// Nothing before the first image.
    std::optional<ImageLayout> layout() const;
    /// At least one image must have been added.
    Image mean() const;

    /// How noisy the mean still is: the standard error of each pixel's mean level, the median of
    /// that over all pixels that vary, relative to the mean level of the picture. Nothing without
    /// `withNoise` or before the fourth image. Takes as long as adding an image.
    std::optional<double> noise() const;

  private:
    void begin(const ImageLayout& layout);
    int makeRoomFor(const ImageLayout& layout, Mismatch mismatch);
    void addPlanes(const ReceivedImage& image);
    void addLevels(const ReceivedImage& image);

    const bool keepsNoise;
    mutable std::mutex mutex;  // guards all below
    int added = 0;
    ImageLayout common;
    std::vector<std::vector<float>> sums;  // one per channel
    std::vector<std::size_t> shown;        // channels whose average is a pixel's level
    // Per pixel: the mean of its levels so far, and the sum of their squared distances from it.
    std::vector<float> meanLevels;
    std::vector<float> squares;
};

}  // namespace Orvane
