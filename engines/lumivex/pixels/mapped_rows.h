// Changes the rows of a frame in place, by maps of its cells.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <opencv2/core.hpp>
#include <opencv2/core/hal/intrin.hpp>
#include <vector>

#include "pixels/cell_grid.h"
#include "pixels/nv12_view.h"
#include "pixels/row_bands.h"
#include "pixels/row_window.h"

namespace lumivex {

// Owns: what each thread needs for its rows. Borrows: the frame and the maps, for each call. Threads: one at a time.
class MappedRows {
 public:
  static constexpr int kStep = RowWindow::kStep;  // pixels, or codes of chroma, that are changed at once
  static constexpr size_t kMostMaps = 4;
  template <size_t kMaps>
  using Maps = std::array<const CellMap *, kMaps>;
  // What the maps have at a step's places.
  template <size_t kMaps>
  using Values = std::array<cv::v_int16x8, kMaps>;

  // Before the first change of a frame that is so many cells wide.
  void Prepare(int columns, const RowBands &bands) {
    constexpr int kPixels = kStep * kCell;  // a map fills its row by so many
    const auto padded = static_cast<size_t>((columns * kCell + kPixels - 1) / kPixels * kPixels);
    scratch_.resize(static_cast<size_t>(bands.Threads()));
    for (Scratch &scratch : scratch_) {
      for (std::vector<int16_t> &values : scratch.values) values.resize(padded);
      scratch.out.resize(padded);
    }
  }

  // Calls change(pixels, low, values) for the pixels of those rows that wanted(row) asks for, and stores what it gives,
  // cut to 0 to 255. `low` is the low-pass of the pixels, in 1/64ths of a level; it does not look beyond `rows`.
  template <size_t kMaps, typename Wanted, typename Change>
  void ChangeLuma(const Nv12View &view, const cv::Range &rows, const Maps<kMaps> &maps, const RowBands &bands,
                  const Wanted &wanted, const Change &change) {
    static_assert(kMaps <= kMostMaps);
    const int top = rows.start;
    const RowWindow::Plane plane{view.YRow(top), view.y_stride, view.width, rows.size()};
    edges_.Save(plane.pixels, plane.stride, plane.width, plane.height, bands.RowsOfBand(plane.height));
    bands.Run(plane.height, RowBands::kRows, [&](int first, int end, int thread) {
      Scratch &own = scratch_[static_cast<size_t>(thread)];
      int row = first;
      while (row < end && !wanted(top + row)) ++row;
      if (row == end) return;
      own.window.Begin(plane, first, end, row, edges_);
      for (; row < end; ++row, own.window.Advance()) {
        if (!wanted(top + row)) continue;
        for (size_t i = 0; i < kMaps; ++i) maps[i]->ExpandToLuma(top + row, own.blended, own.values[i].data());
        const uint8_t *pixels = own.window.Row();
        const int16_t *above = own.window.Above();
        const int16_t *middle = own.window.Here();
        const int16_t *below = own.window.Below();
        for (int x = 0; x < view.width; x += kStep) {
          const cv::v_int16x8 here = cv::v_load(middle + x);
          const cv::v_int16x8 low = (cv::v_load(above + x) + here + here + cv::v_load(below + x)) << 2;
          cv::v_pack_u_store(own.out.data() + x, change(cv::v_reinterpret_as_s16(cv::v_load_expand(pixels + x)), low,
                                                        ValuesAt<kMaps>(own, x)));
        }
        std::memcpy(view.YRow(top + row), own.out.data(), static_cast<size_t>(view.width));
      }
    });
  }

  // The same for rows of chroma: change(codes, values), where `codes` are 1/64ths of U and V in turn.
  template <size_t kMaps, typename Wanted, typename Change>
  void ChangeChroma(const Nv12View &view, const cv::Range &rows, const Maps<kMaps> &maps, const RowBands &bands,
                    const Wanted &wanted, const Change &change) {
    static_assert(kMaps <= kMostMaps);
    const int bytes = 2 * view.chroma_width;
    bands.Run(rows.size(), RowBands::kRows / 2, [&](int first, int end, int thread) {
      Scratch &own = scratch_[static_cast<size_t>(thread)];
      for (int row = rows.start + first; row < rows.start + end; ++row) {
        if (!wanted(row)) continue;
        for (size_t i = 0; i < kMaps; ++i) maps[i]->ExpandToChroma(row, own.blended, own.values[i].data());
        uint8_t *codes = view.UvRow(row);
        std::memcpy(own.out.data(), codes, static_cast<size_t>(bytes));
        for (int x = 0; x < bytes; x += kStep) {
          const cv::v_int16x8 here = cv::v_reinterpret_as_s16(cv::v_load_expand(own.out.data() + x)) << 6;
          cv::v_pack_u_store(own.out.data() + x, (change(here, ValuesAt<kMaps>(own, x)) + cv::v_setall_s16(32)) >> 6);
        }
        std::memcpy(codes, own.out.data(), static_cast<size_t>(bytes));
      }
    });
  }

  // What is added to codes, in 1/64ths, that go `part` of the way, in 1/32768ths, to a place of U and V.
  static cv::v_int16x8 Pull(const cv::v_int16x8 &codes, const cv::v_int16x8 &part, const cv::v_int16x8 &u,
                            const cv::v_int16x8 &v) {
    const cv::v_int16x8 is_u(-1, 0, -1, 0, -1, 0, -1, 0);
    return cv::v_mul_hi((cv::v_select(is_u, u, v) - codes) << 1, part);
  }

 private:
  struct Scratch {
    RowWindow window;
    CellMap::Blended blended;
    std::array<std::vector<int16_t>, kMostMaps> values;
    std::vector<uint8_t> out;
  };

  template <size_t kMaps>
  static Values<kMaps> ValuesAt(const Scratch &scratch, int x) {
    Values<kMaps> values;
    for (size_t i = 0; i < kMaps; ++i) values[i] = cv::v_load(scratch.values[i].data() + x);
    return values;
  }

  std::vector<Scratch> scratch_;
  BandEdges edges_;
};

}  // namespace lumivex
