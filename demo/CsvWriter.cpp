#include "CsvWriter.h"

#include <cmath>

namespace KorvanDemo {

namespace {

void appendNumber(std::string& out, double value) {
  if (std::isnan(value)) {
    out += "nan";
  } else if (std::isinf(value)) {
    out += value > 0 ? "inf" : "-inf";
  } else {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.7g", value);
    out += buffer;
  }
}

}  // namespace

TrajectoryCsv::~TrajectoryCsv() { close(); }

const char* TrajectoryCsv::header() { return "step,time,body,x,y,angle,vx,vy,w,awake"; }

std::string TrajectoryCsv::formatRow(const TrajectoryRow& row) {
  std::string line = std::to_string(row.step);
  line += ',';
  appendNumber(line, row.time);
  line += ',';
  line += std::to_string(row.body);
  for (const float v : {row.x, row.y, row.angle, row.vx, row.vy, row.w}) {
    line += ',';
    appendNumber(line, v);
  }
  line += row.awake ? ",1" : ",0";
  return line;
}

bool TrajectoryCsv::open(const std::string& path) {
  close();
  failed_ = false;
  file_ = std::fopen(path.c_str(), "w");
  if (file_ == nullptr) return false;
  if (std::fprintf(file_, "%s\n", header()) < 0) failed_ = true;
  return true;
}

void TrajectoryCsv::write(const TrajectoryRow& row) {
  if (file_ == nullptr) return;
  const std::string line = formatRow(row);
  if (std::fprintf(file_, "%s\n", line.c_str()) < 0) failed_ = true;
}

bool TrajectoryCsv::close() {
  if (file_ == nullptr) return !failed_;
  if (std::fclose(file_) != 0) failed_ = true;
  file_ = nullptr;
  return !failed_;
}

}  // namespace KorvanDemo
