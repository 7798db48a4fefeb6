"""The structure checks themselves: each fault that they are for, in a small tree made for it."""

import tempfile
import unittest

import floors_include_downward
import tree_shape
from public_headers_compile_alone import faults as header_faults
from source_tree import Path


class StructureChecks(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="twqt-structure-")
        self.addCleanup(self.folder.cleanup)
        self.root = Path(self.folder.name)
        self.write("Engines/moviefile/README.md", "")
        self.write("Platform/Foundation/README.md", "")
        self.write("Platform/Toolbox/README.md", "")
        self.write("Engines/moviefile/Atom.h", "#include <vector>\n")
        self.write("Platform/Foundation/NSString.h", "#include <string>\n")
        self.write("Platform/Toolbox/Movies.h", '#include "NSString.h"\n')
        self.write("Platform/Toolbox/Movies.cpp", '#include "Movies.h"\n#include "Engines/moviefile/Atom.h"\n')
        self.write("Sources/StMovie.h", '#include "Movies.h"\nclass TWQT_EXPORT StMovie {};\n')
        self.write("Sources/StMovie.cpp", '#include "StMovie.h"\n')

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)

    def includes(self, fragment):
        found, _ = floors_include_downward.faults(self.root)
        self.assertEqual(1, len(found), found)
        self.assertIn(fragment, found[0])

    def shape(self, fragment):
        found, _ = tree_shape.faults(self.root)
        self.assertEqual(1, len(found), found)
        self.assertIn(fragment, found[0])

    def test_a_tree_without_fault_is_left_alone(self):
        self.assertEqual([], floors_include_downward.faults(self.root)[0])
        self.assertEqual([], tree_shape.faults(self.root)[0])

    def test_an_engine_must_not_know_the_platform(self):
        self.write("Engines/moviefile/Atom.cpp", '#include "NSString.h"\n')
        self.includes("an engine includes")

    def test_the_platform_must_not_know_the_framework(self):
        self.write("Platform/Toolbox/Movies.cpp", '#include "StMovie.h"\n')
        self.includes("the platform includes")

    def test_the_framework_must_not_know_engines(self):
        self.write("Sources/StMovie.cpp", '#include "Engines/moviefile/Atom.h"\n')
        self.includes("of Engines/")

    def test_the_framework_must_not_know_private_headers(self):
        self.write("Platform/Toolbox/Private/MovieRecord.h", "")
        self.write("Sources/StMovie.cpp", '#include "Platform/Toolbox/Private/MovieRecord.h"\n')
        self.includes("private header")

    def test_the_framework_must_not_use_libraries_directly(self):
        self.write("Sources/StMovie.cpp", "#include <plist/plist.h>\n")
        self.includes("behind the platform")

    def test_an_installed_header_must_not_reach_an_engine(self):
        self.write("Platform/Toolbox/Movies.h", '#include "Engines/moviefile/Atom.h"\n')
        self.includes("engine header")

    def test_an_installed_header_must_not_reach_a_library(self):
        self.write("Platform/Toolbox/Movies.h", "#include <libavcodec/avcodec.h>\n")
        self.includes("not of the standard library")

    def test_an_engine_header_must_not_show_a_library(self):
        self.write("Engines/moviefile/Atom.h", "#include <libavcodec/avcodec.h>\n")
        self.includes("engine's header")

    def test_the_program_uses_public_headers_only(self):
        self.write("Tools/twqt/main.cpp", '#include "Engines/moviefile/Atom.h"\n')
        self.includes("of Engines/")

    def test_a_header_without_its_source_is_found(self):
        (self.root / "Sources/StMovie.cpp").unlink()
        self.shape("no StMovie.cpp")

    def test_a_header_without_its_class_is_found(self):
        self.write("Sources/StMovie.h", "class Other;\n")
        self.shape("declares no StMovie")

    def test_a_source_without_its_header_is_found(self):
        self.write("Sources/StTrack.cpp", "")
        self.shape("has no header")

    def test_a_long_file_is_found(self):
        self.write("Sources/StMovie.cpp", "\n" * 701)
        self.shape("701 lines")

    def test_two_installed_headers_of_one_name_are_found(self):
        self.write("Platform/Foundation/Movies.h", "")
        self.shape("both are installed flat")

    def test_a_name_that_says_nothing_is_found(self):
        self.write("Sources/StMovie.cpp", "")
        self.write("Engines/moviefile/utils.cpp", "")
        self.shape("does not say")

    def test_a_part_without_a_word_about_itself_is_found(self):
        (self.root / "Engines/moviefile/README.md").unlink()
        self.shape("README.md")

    def test_a_header_that_leans_on_another_is_found(self):
        self.write("Platform/Foundation/NSString.h", "inline std::string leaning;\n")
        found, count = header_faults(self.root, "c++")
        self.assertEqual(3, count)
        self.assertTrue(any("std" in fault for fault in found), found)


if __name__ == "__main__":
    unittest.main()
