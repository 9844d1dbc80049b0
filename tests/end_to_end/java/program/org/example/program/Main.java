package org.example.program;

import java.io.PrintStream;
import java.nio.charset.StandardCharsets;

/** Tells what it was given on standard output, and ends as its last argument says. */
public final class Main {
    private Main() {
    }

    public static void main(String[] arguments) throws Exception {
        PrintStream output = new PrintStream(System.out, true, StandardCharsets.UTF_8);
        for (String argument : arguments) {
            output.println("argument " + argument.replace("\r", "<CR>"));
        }
        output.println("property " + System.getProperty("program.property"));
        output.println("module " + Main.class.getModule().getName());
        output.println("library path " + System.getenv("LD_LIBRARY_PATH"));
        String end = arguments.length == 0 ? "" : arguments[arguments.length - 1];
        switch (end) {
            case "throw":
                throw new IllegalStateException("thrown");
            case "load":
                System.loadLibrary("missing");
                break;
            case "window":
                Class.forName("java.awt.Frame").getConstructor().newInstance();
                break;
            case "wait":
                Runtime.getRuntime().addShutdownHook(new Thread(() -> output.println("hook")));
                output.println("waiting");
                Thread.sleep(Long.MAX_VALUE);
                break;
            default:
                if (end.startsWith("exit ")) {
                    System.exit(Integer.parseInt(end.substring(5)));
                }
        }
    }
}
