#include "Usage.h"

namespace kestrav::tools {

const char *const usage =
    R"(Usage: kestrav-bundle --identifier ID [--jar FILE | --main-class CLASS] [OPTION...] NAME.app
       kestrav-bundle --clean [FOLDER]

Makes an application bundle that starts a Java program, which is then one process with the launcher; with --installer
it is a child, behind the launcher's window. With --clean removes the runtimes that applications have kept.

The application
  --identifier ID       its identifier, such as com.example.tool
  --name NAME           its name for people (default: what stands before ".app")
  --app-version V       its version (default: 1.0.0)
  --icon FILE           its icon, an .icns file with PNG images
  --language LANG       a language of the launcher's messages: en, de, ja or ar; LANG=FILE adds one of your own with its
                        Localizable.strings, which has all messages. May be given several times; the first is used
                        where none suits the user (default: all four, en first)
  --file-type EXT       files that macOS opens with the application, by their extension; EXT=DESCRIPTION names their
                        kind for people. May be given several times, as may
  --url-scheme SCHEME   addresses that macOS opens with it, by what stands before their ":"

The program
  --jar FILE            its archive, which names the main class, unless --main-class does. The archives that its
                        manifest names come along
  --main-class CLASS    the class to start
  --class-path FILE     a further archive, a folder of classes, or 'FOLDER/*' for all archives in a folder. What begins
                        with "$" is not copied but looked up where the application runs:
                        '$APP_PACKAGE/../plugins/*', '$NAME' (an environment variable)
  --file FILE           a file or a folder that is copied beside the archives, into Contents/Resources/app
  --vm-option OPTION    an option for the virtual machine, such as -Xmx512m. A runtime of --runtime that runs on this
                        machine is started to see whether it takes the options
  --argument TEXT       an argument for the program; those of the command line follow
  The last four may be given several times.

Its runtime: one that it carries, one that it downloads, or one that is installed
  --runtime PATH        a JDK or JRE that travels with the application: its folder, or an archive (.tar.gz) as it was
                        published
  --runtime-form FORM   how: "folder" (default: used in place) or "archive" (default of an installer: small; extracted at
                        the first start and kept in the user's cache folder, of an installer at each start)
  --runtime-url URL     where to fetch an archive from if no installed runtime suits: http, https, ftp or file. It is
                        one as runtimes are published, or the jre.tar.gz of an application made with
                        --runtime-form archive. For the percentage while it is extracted --info can give its size
                        before compression, ksv.jreUncompressedSize
  --runtime-sha256 HEX  the SHA-256 of that archive; any other is not extracted. For an archive of --runtime it is
                        written without being asked for
  --keep-runtime        with --installer, too, what was extracted or downloaded stays in the user's cache folder, for
                        later starts and for other applications with the same archive
  --min-version V       the oldest and the newest version that suits, such as 11 or 17.0.2; 1.8 is Java 8
  --max-version V       (default: the oldest that can read the main class)
  --allow-beta          pre-releases suit as well
  --vm-id-prefix TEXT   how the identifier of an installed runtime has to begin
  --search ENTRY        where to look for an installed one: Y the system's standard locations, RFOLDER a folder, ENAME
                        an environment variable with a folder. May be given several times (default: Y)
  --no-search           nowhere

More
  --installer           for programs that run once: a window shows how the runtime is prepared, and stays for the program's
                        first five seconds; the program has no terminal, and nothing is kept
  --info FILE           a property list whose entries go into Info.plist, above those made by the options
  --template FOLDER     the bare Launcher.app to start from (default: the one that belongs to this program)
  --replace             replaces an application of that name, in one step, once the new one is complete
  --clean [FOLDER]      tells of each runtime that applications of yours have kept (size, last use) and removes those that
                        are not in use; FOLDER is one of ksv.runtimeCache (default: the usual one)
  --help, --version

Exit status: 0 made; 1 refused or failed, with the reason on standard error; nothing is left behind then, nor after
SIGINT, SIGTERM or SIGHUP. What a killed run leaves is removed by the next one in the same folder.

Example:
  kestrav-bundle --identifier com.example.tool --jar tool.jar --runtime /usr/lib/jvm/java-17-openjdk-amd64 Tool.app
)";

const char *const versionText = "kestrav-bundle " KESTRAV_VERSION "\n";

} // namespace kestrav::tools
