package com.example.catalogue;

import java.awt.BorderLayout;
import java.awt.Dimension;
import java.awt.event.WindowAdapter;
import java.awt.event.WindowEvent;
import java.time.LocalDate;
import java.util.List;
import java.util.stream.Collectors;
import java.util.stream.IntStream;
import javax.swing.JFrame;
import javax.swing.JLabel;
import javax.swing.JMenu;
import javax.swing.JMenuBar;
import javax.swing.JMenuItem;
import javax.swing.JScrollPane;
import javax.swing.JSplitPane;
import javax.swing.JTable;
import javax.swing.JTree;
import javax.swing.SwingUtilities;
import javax.swing.WindowConstants;
import javax.swing.table.DefaultTableModel;
import javax.swing.tree.DefaultMutableTreeNode;

/** A window with menus, a tree and a table. With the argument "--close" it closes by itself once it is shown. */
public final class Catalogue {
    private record Book(String title, String shelf, LocalDate since) {
    }

    private final JLabel status = new JLabel(" ");
    private final DefaultTableModel table = new DefaultTableModel(new Object[] {"Title", "Shelf", "Since"}, 0);
    private final List<Book> books = IntStream.range(0, 200)
            .mapToObj(i -> new Book("Book " + (i + 1), "Shelf " + (char) ('A' + i % 8), LocalDate.of(2020, 1, 1).plusDays(i)))
            .collect(Collectors.toList());

    private Catalogue() {
    }

    public static void main(String[] arguments) {
        boolean closes = List.of(arguments).contains("--close");
        SwingUtilities.invokeLater(() -> new Catalogue().show(closes));
    }

    private void show(boolean closes) {
        JFrame frame = new JFrame("Catalogue");
        frame.setDefaultCloseOperation(WindowConstants.DISPOSE_ON_CLOSE);
        frame.setJMenuBar(menuBar(frame));
        JTree tree = tree();
        tree.addTreeSelectionListener(event -> select(event.getPath().getLastPathComponent().toString()));
        JTable view = new JTable(table);
        view.setAutoCreateRowSorter(true);
        frame.add(new JSplitPane(JSplitPane.HORIZONTAL_SPLIT, new JScrollPane(tree), new JScrollPane(view)));
        frame.add(status, BorderLayout.SOUTH);
        select("All");
        frame.setPreferredSize(new Dimension(700, 450));
        frame.pack();
        frame.addWindowListener(new WindowAdapter() {
            @Override
            public void windowOpened(WindowEvent event) {
                if (closes) {
                    SwingUtilities.invokeLater(frame::dispose); // after what opening has still to do
                }
            }
        });
        frame.setVisible(true);
    }

    private JMenuBar menuBar(JFrame frame) {
        JMenuBar bar = new JMenuBar();
        JMenu file = new JMenu("File");
        JMenuItem close = new JMenuItem("Close");
        close.addActionListener(event -> frame.dispose());
        file.add(close);
        JMenu view = new JMenu("View");
        for (String shelf : shelves()) {
            JMenuItem item = new JMenuItem(shelf);
            item.addActionListener(event -> select(shelf));
            view.add(item);
        }
        bar.add(file);
        bar.add(view);
        return bar;
    }

    private JTree tree() {
        DefaultMutableTreeNode all = new DefaultMutableTreeNode("All");
        shelves().forEach(shelf -> all.add(new DefaultMutableTreeNode(shelf)));
        return new JTree(all);
    }

    private List<String> shelves() {
        return books.stream().map(Book::shelf).distinct().sorted().collect(Collectors.toList());
    }

    private void select(String shelf) {
        table.setRowCount(0);
        books.stream().filter(book -> shelf.equals("All") || book.shelf().equals(shelf))
                .forEach(book -> table.addRow(new Object[] {book.title(), book.shelf(), book.since()}));
        status.setText(String.format("%s: %d books", shelf, table.getRowCount()));
    }
}
