SELECT *
  FROM dbo.[vw_Orders] o
  JOIN [sales].fn_Total t ON 1 = 1
	WHERE o.id IN (SELECT id FROM vw_Orders);
-- the same name twice: vw_Orders; vw_Orders
EXEC [dbo].usp_GetOrders