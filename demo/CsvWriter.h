#pragma once

// Trajectory file: one line per body and step,
// "step,time,body,x,y,angle,vx,vy,w,awake".
#include <cstdio>
#include <string>

namespace KorvanDemo {

struct TrajectoryRow {
  int step = 0;
  double time = 0.0;
  int body = 0;
  float x = 0.0f, y = 0.0f, angle = 0.0f;
  float vx = 0.0f, vy = 0.0f, w = 0.0f;
  bool awake = true;
};

class TrajectoryCsv {
 public:
  TrajectoryCsv() = default;
  ~TrajectoryCsv();
  TrajectoryCsv(const TrajectoryCsv&) = delete;
  TrajectoryCsv& operator=(const TrajectoryCsv&) = delete;

  // Creates the file and writes the header; false if it cannot be created.
  bool open(const std::string& path);
  void write(const TrajectoryRow& row);
  // Flushes and closes; false if anything failed to be written.
  bool close();

  static const char* header();
  // The line for one row, without the newline (non-finite values as "nan"/"inf").
  static std::string formatRow(const TrajectoryRow& row);

 private:
  std::FILE* file_ = nullptr;
  bool failed_ = false;
};

}  // namespace KorvanDemo
