-- Views and triggers of the demo shop.
CREATE VIEW vw_product_catalogue AS
    SELECT p.product_id, p.sku, p.name, fn_category_path(p.category_id) AS category,
           p.unit_price, fn_price_with_vat(p.unit_price) AS price_incl_vat, s.name AS supplier
    FROM products p LEFT JOIN suppliers s ON s.supplier_id = p.supplier_id
    WHERE NOT p.discontinued;

CREATE VIEW vw_stock_levels AS
    SELECT w.code AS warehouse, p.sku, p.name, st.quantity, st.reorder_level,
           st.quantity < st.reorder_level AS below_level
    FROM stock st JOIN warehouses w USING (warehouse_id) JOIN products p USING (product_id);

CREATE VIEW vw_reorder_list AS
    SELECT warehouse, sku, name, reorder_level - quantity AS missing
    FROM vw_stock_levels WHERE below_level;

CREATE VIEW vw_customer_overview AS
    SELECT c.customer_id, fn_customer_name(c.customer_id) AS customer, c.email,
           fn_loyalty_level(c.loyalty_points) AS level, count(o.order_id) AS orders,
           coalesce(sum(o.total), 0) AS revenue
    FROM customers c LEFT JOIN orders o ON o.customer_id = c.customer_id AND o.status <> 'cancelled'
    GROUP BY c.customer_id;

CREATE VIEW vw_open_orders AS
    SELECT o.order_id, fn_customer_name(o.customer_id) AS customer, o.ordered_at, o.total,
           fn_amount_due(o.order_id) AS due
    FROM orders o WHERE o.status = 'open';

CREATE VIEW vw_order_lines AS
    SELECT i.order_id, i.line_no, p.sku, p.name, i.quantity, i.unit_price, i.quantity * i.unit_price AS amount
    FROM order_items i JOIN products p USING (product_id);

CREATE VIEW vw_monthly_sales AS
    SELECT date_trunc('month', ordered_at)::date AS month, count(*) AS orders, sum(total) AS revenue
    FROM orders WHERE status IN ('paid', 'shipped')
    GROUP BY 1;

CREATE VIEW vw_shipments_pending AS
    SELECT o.order_id, fn_customer_name(o.customer_id) AS customer, o.ordered_at
    FROM orders o
    WHERE o.status = 'paid' AND NOT EXISTS (SELECT 1 FROM shipments s WHERE s.order_id = o.order_id);

CREATE VIEW vw_price_changes AS
    SELECT p.sku, h.changed_at, h.old_price, h.new_price, h.changed_by
    FROM price_history h JOIN products p USING (product_id);

CREATE TRIGGER trg_products_touch BEFORE UPDATE ON products
    FOR EACH ROW EXECUTE FUNCTION trg_fn_touch_updated_at();
CREATE TRIGGER trg_products_price AFTER UPDATE OF unit_price ON products
    FOR EACH ROW EXECUTE FUNCTION trg_fn_log_price_change();
CREATE TRIGGER trg_order_items_total AFTER INSERT OR UPDATE OR DELETE ON order_items
    FOR EACH ROW EXECUTE FUNCTION trg_fn_recalc_order_total();
CREATE TRIGGER trg_order_items_stock BEFORE INSERT ON order_items
    FOR EACH ROW EXECUTE FUNCTION trg_fn_check_stock();
CREATE TRIGGER trg_payments_paid AFTER INSERT ON payments
    FOR EACH ROW EXECUTE FUNCTION trg_fn_mark_paid();
CREATE TRIGGER trg_orders_points AFTER UPDATE OF status ON orders
    FOR EACH ROW EXECUTE FUNCTION trg_fn_award_points();
CREATE TRIGGER trg_customers_audit AFTER INSERT OR UPDATE OR DELETE ON customers
    FOR EACH ROW EXECUTE FUNCTION trg_fn_audit();
CREATE TRIGGER trg_orders_audit AFTER INSERT OR DELETE ON orders
    FOR EACH ROW EXECUTE FUNCTION trg_fn_audit();
CREATE TRIGGER trg_suppliers_audit AFTER UPDATE OR DELETE ON suppliers
    FOR EACH ROW EXECUTE FUNCTION trg_fn_audit();
