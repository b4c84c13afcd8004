// What tests of the additions share: data for lumAbsDiffu8, in a directory of its own.

#ifndef LUMEN_TEST_ADDITION_SUPPORT_H
#define LUMEN_TEST_ADDITION_SUPPORT_H

#include <filesystem>
#include <string>

#include "lumenTestDriverSupport.h"

// Files a.csv, b.csv, right.csv and wrong.csv of 3 x 2 pixels for scripts to name; the test table
// has the function in slots C, V and G.
class AbsDiffData {
 public:
  AbsDiffData() {
    for (const std::string folder : {"/lumenabsdiff/", "/lumTestRef/"}) {
      std::filesystem::create_directory(path() + folder);
      write(folder + "a.csv", "3,2,0,0,3,2\n9,8,7\n1,2,3\n");
      write(folder + "b.csv", "3,2,0,0,3,2\n1,8,9\n1,0,255\n");
      write(folder + "right.csv", "3,2,0,0,3,2\n8,0,2\n0,2,252\n");
      write(folder + "wrong.csv", "3,2,0,0,3,2\n8,0,2\n0,2,251\n");
    }
    write("LumenTestTable.csv", testTable("lumAbsDiffu8,1,1,0,1,1,0,0,0,0,0,0,0,0\n"));
  }

  std::string path() const { return directory_.path(); }
  void write(const std::string& name, const std::string& text) const {
    directory_.write(name, text);
  }
  void script(const std::string& rows, const std::string& kind = "") const {
    write("lumenabsdiff/control_script_" + kind + "u8.csv",
          "src1,src2,ref,note\nunsignedchar[],unsignedchar[],unsignedchar[],comment\n" + rows);
  }

 private:
  TempDirectory directory_;
};

#endif  // LUMEN_TEST_ADDITION_SUPPORT_H
