using System.Data;
using Npgsql;

// The shop's order pages.
public class OrderController
{
    private readonly NpgsqlConnection db;

    public OrderController(NpgsqlConnection connection) { db = connection; }

    public void Create(int customerId)
    {
        using var cmd = new NpgsqlCommand("CALL public.usp_create_order(@customer, NULL)", db);
        cmd.Parameters.AddWithValue("customer", customerId);
        cmd.ExecuteNonQuery();
    }

    public DataTable OpenOrders()
    {
        // Reads vw_open_orders, newest first.
        return Query("SELECT * FROM vw_open_orders ORDER BY ordered_at DESC");
    }

    public decimal Total(int orderId)
    {
        return Scalar("SELECT public.fn_order_total(@id)", orderId);
    }

    public void Ship(int orderId)
    {
        using var cmd = new NpgsqlCommand("usp_ship_order", db) { CommandType = CommandType.StoredProcedure };
        cmd.Parameters.AddWithValue("p_order_id", orderId);
        cmd.ExecuteNonQuery();
    }

    public void Cancel(int orderId)
    {
        Execute("CALL usp_cancel_order(@id, 'customer request')", orderId);
    }
}
