// SPDX-License-Identifier: GPL-3.0-or-later
// embed_pictures HEADER PNG...: writes square pictures as arrays of pixels. What the program shows
// at its start is not decoded then.
#include <QImage>
#include <cstdlib>
#include <fstream>
#include <iostream>

int main(int count, char** arguments) {
  std::ofstream header(arguments[1]);
  header << "#include <cstdint>\n\nnamespace {\nconstexpr std::uint32_t kPixels[] = {\n"
         << std::hex;
  std::string sides;
  for (int i = 2; i < count; ++i) {
    const QImage picture = QImage(arguments[i]).convertToFormat(QImage::Format_ARGB32);
    if (picture.isNull() || picture.width() != picture.height()) {
      std::cerr << "embed_pictures: " << arguments[i] << " is no square picture\n";
      return EXIT_FAILURE;
    }
    for (int y = 0; y < picture.height(); ++y) {
      for (int x = 0; x < picture.width(); ++x) header << "0x" << picture.pixel(x, y) << ',';
      header << '\n';
    }
    sides += std::to_string(picture.width()) + ',';
  }
  header << "};\nconstexpr int kSides[] = {" << sides << "};\n}\n";
  return header.flush() ? EXIT_SUCCESS : EXIT_FAILURE;
}
