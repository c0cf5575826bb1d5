"""What the trial of the package makes of what dpkg and the views say."""

import pathlib
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path += [str(ROOT / "tests" / "package"), str(ROOT / "tests" / "desktop")]

from dependencies import imported_modules, is_used  # pylint: disable=wrong-import-position
from install_and_purge import configuration_of_removed  # pylint: disable=wrong-import-position

SUM = "0123456789abcdef0123456789abcdef"


def test_configuration_of_removed_packages_alone_is_told():
    listed = (f"ii  /etc/here {SUM}\n /etc/there {SUM}\nrc  /etc/left {SUM}\n"
              f" /etc/with space {SUM}\n /etc/old {SUM} obsolete\n"
              f" /etc/older {SUM} obsolete remove-on-upgrade\nii \nrc \n"
              f"ii  /etc/last {SUM}\nrc \n /etc/below {SUM}\n")
    assert configuration_of_removed(listed) == {"/etc/left", "/etc/with space", "/etc/old",
                                                "/etc/older", "/etc/below"}


def test_a_module_is_needed_by_a_view_or_by_another_that_is():
    modules = {"QtQuick": "module QtQuick\nimport QtQml auto\n", "QtQml": "depends QML 1.0\n",
               "Other": "import More\n"}
    assert imported_modules(["import QtQuick\n// import Other\n", "  import QtA.B as T\n"],
                            modules) == {"QtQuick", "QtQml", "QML", "QtA.B"}


def test_a_package_is_used_by_what_names_something_of_it():
    words, imported = {b"liba.so.1", b"xdg-open"}, {"QtA.B"}
    modules = "/usr/lib/x86_64-linux-gnu/qt6/qml/QtA"
    for used in ("/usr/lib/x86_64-linux-gnu/liba.so.1", "/usr/bin/xdg-open", f"{modules}/B/qmldir"):
        assert is_used(["/usr/share/doc/a", used], words, imported), used
    for useless in ("/usr/lib/x86_64-linux-gnu/libb.so.1", "/usr/lib/liba.so", "/usr/bin/other",
                    f"{modules}/qmldir", "/etc/xdg-open"):
        assert not is_used([useless], words, imported), useless
