package com.example.hello;

import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.util.List;

/** Shows what a program gets from the launcher. The argument after "--exit" becomes the exit status. */
public final class Hello {
    private Hello() {
    }

    public static void main(String[] args) throws IOException {
        List<String> arguments = List.of(args);
        for (int i = 0; i < args.length; i++) {
            System.out.println("argument " + (i + 1) + ": " + args[i]);
        }
        for (String property : List.of("hello.greeting", "hello.colour", "ksv.jreBundle", "ksv.ownBundlePath",
                "java.home", "java.version", "user.dir")) {
            System.out.println(property + ": " + System.getProperty(property));
        }
        String line = new BufferedReader(new InputStreamReader(System.in)).readLine();
        System.out.println("standard input: " + line);
        int exit = arguments.indexOf("--exit");
        System.exit(exit >= 0 && exit + 1 < args.length ? Integer.parseInt(args[exit + 1]) : 0);
    }
}
