package com.example.counter;

import java.awt.BorderLayout;
import java.util.List;
import javax.swing.JButton;
import javax.swing.JFrame;
import javax.swing.JLabel;
import javax.swing.SwingUtilities;
import javax.swing.WindowConstants;

/** A window that counts how often its button was pressed. With the argument "--version" it tells its version instead. */
public final class Counter {
    private int presses;

    private Counter() {
    }

    public static void main(String[] args) {
        if (List.of(args).contains("--version")) {
            System.out.println("Counter " + Counter.class.getPackage().getImplementationVersion());
        } else {
            SwingUtilities.invokeLater(new Counter()::show);
        }
    }

    private void show() {
        JLabel label = new JLabel("Not pressed yet", JLabel.CENTER);
        JButton button = new JButton("Press");
        button.addActionListener(event -> label.setText("Pressed: " + ++presses));
        JFrame frame = new JFrame("Counter");
        frame.setDefaultCloseOperation(WindowConstants.EXIT_ON_CLOSE);
        frame.add(label, BorderLayout.CENTER);
        frame.add(button, BorderLayout.SOUTH);
        frame.setSize(320, 160);
        frame.setLocationRelativeTo(null);
        frame.setVisible(true);
    }
}
