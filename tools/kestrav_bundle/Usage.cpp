#include "Usage.h"

namespace kestrav::tools {

const char *const usage =
    R"(Usage: kestrav-bundle --identifier ID [--jar FILE | --main-class CLASS] [OPTION...] NAME.app
       kestrav-bundle --check [--json] NAME.app [-- ARGUMENT...]
       kestrav-bundle --clean [FOLDER]

Makes an application bundle that starts a Java program. kestrav-bundle(1) has the details.
Options with * may be given several times. @FILE stands for options in a file, quoted as for java.

The application
  --identifier ID       its identifier, such as com.example.tool
  --name NAME           its name for people (default: what stands before ".app")
  --dest FOLDER         where NAME.app is made if the last argument is left out
  --app-version V       its version (default: 1.0.0)
  --icon FILE           its icon: an SVG or PNG image, or an .icns file with PNG images
                        (default: the initial of its name)
  --language LANG     * a language of the launcher's messages: en, de, ja or ar; LANG=FILE adds one
                        with its Localizable.strings. The first is used where none suits the user
                        (default: all, en first)
  --file-type EXT     * files that are opened with it, by extension; EXT:MIME/TYPE names their type,
                        EXT=DESCRIPTION their kind for people
  --url-scheme SCHEME * addresses that are opened with it
  --desktop-entry FILE  also writes an entry for the desktops of Linux and, beside it, the icon and
                        the description of the files' types
  --install-path PATH   where that entry finds the application (default: where it is made)
  --name-in LANG=NAME * its name there in a language

The program
  --input FOLDER        a folder whose content is copied as it is; the files below are looked for
                        there first
  --jar FILE            its archive, which names the main class; archives that its manifest names
                        come along
  --main-class CLASS    the class to start
  --module M[/CLASS]    the module to start instead
  --module-path FILE  * a module, or a folder of several
  --class-path FILE   * another archive, a folder of classes, or 'FOLDER/*' for all archives in it;
                        what begins with "$" is looked up where it runs:
                        '$APP_PACKAGE/../plugins/*', '$NAME'
  --file FILE         * a file or a folder that is copied beside the archives
  --vm-option OPTION  * an option for the virtual machine, such as -Xmx512m; one for some versions
                        alone begins with them: 17:OPTION, 17-21:OPTION, 17-:OPTION
  --argument TEXT     * an argument for the program; those of the command line follow
  --options-file FILE   a file with further options for the virtual machine, a line each;
                        "$APP_PACKAGE/..." and "~/..." are looked up where it runs
  --working-directory DIR  where the program starts (default: $APP_PACKAGE/Contents/Resources/app)
  --splash FILE         an image that the virtual machine shows while it starts: GIF, PNG or JPEG

Its runtime: one that it carries, one that it downloads, or one that is installed
  --runtime PATH        a JDK or JRE that travels with it: a folder, or an archive (.tar.gz) as
                        published
  --runtime-form FORM   "folder" (default: used in place) or "archive" (default of an installer;
                        small, extracted at the first start and kept in the user's cache folder)
  --add-modules LIST    makes the runtime by jlink, from the JDK of --runtime or $JAVA_HOME, with
                        the modules named; "auto" stands for those that jdeps sees
  --jlink-options TEXT  further options for that, such as --strip-debug
  --no-class-archive    leaves a runtime as it is; otherwise one without an archive of its classes
                        gets one, with which programs start sooner
  --train               runs the application once, here, and adds what its virtual machine records
                        (Java 13 or newer), with which it starts sooner
  --training-argument TEXT
                      * an argument for that run
  --training-time SEC   after so many seconds that run is asked to end (SIGTERM)
  --runtime-url URL     where an archive is fetched from if no installed runtime suits
  --runtime-sha256 HEX  the SHA-256 of that archive; any other is not extracted
  --keep-runtime        with --installer, too, the runtime stays in the user's cache folder
  --min-version V       the oldest and the newest version that suits, such as 11 or 17.0.2; 1.8 is
  --max-version V       Java 8 (default: the oldest that can read the main class)
  --allow-beta          pre-releases suit as well
  --vm-id-prefix TEXT   how the identifier of an installed runtime has to begin
  --search ENTRY      * where to look for an installed one: Y the system's locations (default),
                        RFOLDER a folder, ENAME an environment variable with a folder
  --no-search           looks for no installed one

More
  --installer           for programs that run once, as a child behind a window while it is prepared
  --no-window           shows no window while the runtime is obtained
  --info FILE           a property list whose entries go into Info.plist, above those of the options
  --sign IDENTITY       signs it for macOS with codesign, from the inside out; "-" signs ad hoc
  --entitlements FILE   what a signed one may do (default: what Java needs)
  --template FOLDER     the bare Launcher.app to start from (default: the one that came with this)
  --replace             replaces an application of that name once the new one is complete
  --dry-run             only checks, and tells what would be made
  --verbose             tells each step
  --check               starts nothing and writes nothing: tells how an application would start, and
                        what keeps it from starting; --json for programs to read
  --clean [FOLDER]      removes runtimes that applications have kept and that are not in use
  --help, --version

Options of the JDK's packaging tool are taken under its names, too: --main-jar, --java-options,
--runtime-image, --mac-sign and so on.

Exit status: 0 done, or --check finds that it would start; 1 refused or failed, with the reason;
nothing is left behind then.

Examples:
  kestrav-bundle --identifier com.example.tool --jar tool.jar Tool.app
  kestrav-bundle --identifier com.example.tool --jar tool.jar --runtime "$JAVA_HOME" Tool.app
)";

const char *const versionText = "kestrav-bundle " KESTRAV_VERSION "\n";

} // namespace kestrav::tools
