import java.io.IOException;
import java.nio.charset.StandardCharsets;

/** Tells what it was given on standard output, and exits with the status that its last argument names. */
public final class Probe {
    private Probe() {
    }

    public static void main(String[] arguments) throws IOException {
        for (String argument : arguments) {
            System.out.println("argument " + argument);
        }
        for (String name : new String[] {"probe.array", "probe.file", "ksv.jreBundle", "ksv.ownBundlePath", "user.dir"}) {
            System.out.println(name + " " + System.getProperty(name));
        }
        System.out.println("input " + new String(System.in.readAllBytes(), StandardCharsets.UTF_8));
        System.exit(Integer.parseInt(arguments[arguments.length - 1]));
    }
}
