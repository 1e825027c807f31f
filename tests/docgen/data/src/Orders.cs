using System.Data;
// Reads orders through usp_GetOrders
class Orders {
    string sql = "usp_GetOrders";
    string all = "EXEC dbo.usp_GetOrders @id, 1";
    string q = "SELECT * FROM [dbo].[vw_Orders] WHERE total < 10 && x > 2";
    void Call() { db.usp_GetOrders(1); x =usp_GetOrders; usp_GetOrdersAll(); }
    string fn = "SELECT sales.fn_Total(1), FN_TOTAL ,dbo.[fn_Total]";
}
