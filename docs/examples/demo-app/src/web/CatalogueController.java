package shop.web;

import java.sql.*;

/** The product catalogue and its prices. */
public class CatalogueController {
    private final Connection db;

    public CatalogueController(Connection db) { this.db = db; }

    public ResultSet catalogue() throws SQLException {
        return db.createStatement().executeQuery("SELECT * FROM public.vw_product_catalogue");
    }

    public void changePrice(int product, double price) throws SQLException {
        CallableStatement call = db.prepareCall("CALL usp_change_price(?, ?)");
        call.setInt(1, product);
        call.setDouble(2, price);
        call.execute();
    }

    public String stockLevels = "SELECT * FROM vw_stock_levels WHERE on_hand < 10";
}
